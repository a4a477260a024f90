#pragma once

#include <windows.h>

#include "core/buffer.h"

namespace portwise {

/// A structure of the print spooler, in `buffer`. Calls `query(data, size, needed)` first without a buffer to learn the
/// size, then with one. Null when a call failed.
template <class Info, class Query>
const Info* FetchFromSpooler(OBuffer& buffer, Query query) {
  DWORD needed = 0;
  if (query(nullptr, 0, &needed)) return nullptr;
  // What is asked for may grow between two calls.
  while (GetLastError() == ERROR_INSUFFICIENT_BUFFER && needed >= sizeof(Info) && buffer.Allocate(needed)) {
    if (query(buffer.Data(), needed, &needed)) return reinterpret_cast<const Info*>(buffer.Data());
  }
  return nullptr;
}

}  // namespace portwise
