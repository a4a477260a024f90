#pragma once

#include <windows.h>

namespace portwise::platform {

/// Sets the last error and returns FALSE: the end of most calls that fail.
inline BOOL Fail(DWORD error) {
  SetLastError(error);
  return FALSE;
}

}  // namespace portwise::platform
