#pragma once

#include <windows.h>

#include "core/buffer.h"

namespace portwise {

/// A structure of the print spooler, in `buffer`. Calls `query(data, size, needed)` first without a buffer to learn the
/// size, then with one, and again only while the size that it asks for grows. Null when a call failed.
template <class Info, class Query>
const Info* FetchFromSpooler(OBuffer& buffer, Query query) {
  DWORD needed = 0;
  if (query(nullptr, 0, &needed)) return nullptr;
  // What is asked for may grow between two calls.
  DWORD size = 0;
  while (GetLastError() == ERROR_INSUFFICIENT_BUFFER && needed > size) {
    size = needed;
    if (!buffer.Allocate(size)) return nullptr;
    if (!query(buffer.Data(), size, &needed)) continue;
    return size >= sizeof(Info) ? reinterpret_cast<const Info*>(buffer.Data()) : nullptr;
  }
  return nullptr;
}

}  // namespace portwise
