#pragma once

#include <windows.h>

namespace portwise {

/// The last error of a call that failed, as its result tells; ERROR_SUCCESS of one that did not.
template <class Result>
LSTATUS ErrorOf(Result result) {
  return result ? ERROR_SUCCESS : static_cast<LSTATUS>(GetLastError());
}

}  // namespace portwise
