#pragma once

#include "core/buffer.h"
#include "core/ostring.h"

namespace portwise {

/// The face name of the font that dialogs are shown in: the shell's, or on systems before Windows 2000 that of the
/// stock font.
OString DialogFontFace();

/// Rewrites a dialog template, classic or extended, to be shown in the font of that name and, for rich-edit controls,
/// with their UTF-16 window class. Sizes and weight of the font stay. A template that names no font, or whose head does
/// not lie wholly inside, stays as it is. False, with the template as it was, when there is no memory.
bool FixDialogTemplate(const OString& faceName, OBuffer* dialog);

}  // namespace portwise
