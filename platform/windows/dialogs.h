#pragma once

#include "platform/windows/dialog_template_reader.h"

namespace portwise::platform {

/// What the calls for templates do once these are read. CreateDialogOf shows a dialog that has the style of a visible
/// one; RunDialogOf always does, and waits for its end.
HWND CreateDialogOf(HINSTANCE module, const DialogTemplate& dialog, HWND owner, DLGPROC procedure, LPARAM parameter);
INT_PTR RunDialogOf(HINSTANCE module, const DialogTemplate& dialog, HWND owner, DLGPROC procedure, LPARAM parameter);

}  // namespace portwise::platform
