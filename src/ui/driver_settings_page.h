#pragma once

#include <windows.h>

#include "core/ostring.h"

namespace portwise {

/// Whether the printer's driver has said which object shows its settings of status monitoring.
bool HasStatusSettings(const OString& printer);

/// Shows them, owned by the window; false when the object cannot be made or refuses. The calling thread has initialized
/// COM.
bool ShowStatusSettings(const OString& printer, HWND owner);

}  // namespace portwise
