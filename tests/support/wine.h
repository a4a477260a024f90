#pragma once

#ifdef _WIN32
#include <windows.h>
#endif

namespace portwise {

/// Whether the system is Wine. What it does otherwise than Windows is listed in scripts/windows-tests/not-run.
inline bool IsWine() {
#ifdef _WIN32
  return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
#else
  return false;
#endif
}

}  // namespace portwise
