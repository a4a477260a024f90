#pragma once

#include <windows.h>

namespace portwise {

/// Fails with the last error as it is, after a pause of so many milliseconds: whoever prints tries again at once, for
/// as long as its send timeout lasts.
inline bool FailSlowly(DWORD pause) {
  const DWORD error = GetLastError();
  Sleep(pause);
  SetLastError(error);
  return false;
}

}  // namespace portwise
