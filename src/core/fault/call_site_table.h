#pragma once

#include <windows.h>

namespace portwise {

/// Whether a function's exception table has an entry for an address. Where it has none, nothing was expected to throw,
/// and a C++ exception ends the process. `table` is the function's language-specific data; one that has a form which
/// is not known, or none, counts as having entries for every address.
bool HasCallSite(const BYTE* table, ULONG_PTR functionStart, ULONG_PTR address);

}  // namespace portwise
