#pragma once

#include <windows.h>

namespace portwise {

/// The library's own module, remembered when the library is loaded; null in programs that link its objects.
void SetModuleInstance(HINSTANCE instance);
HINSTANCE ModuleInstance();

}  // namespace portwise
