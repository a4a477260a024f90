#pragma once

#include <windows.h>

namespace portwise {

/// Where a fault stands to the system's own libraries, which hold locks while they work and expect no exception: the C
/// library with its allocator, and the dynamic loader. An exception that left them in the middle would leave such a
/// lock taken for good, and everyone who needs it waiting.
struct FaultSite {
  /// False when there is no way to throw that does not end so.
  bool canThrow = true;
  /// Where the return address of a call is on the stack that must finish before the fault is thrown. Null for at once.
  void** returnAddress = nullptr;
};

/// Looks the libraries up; once before the others.
void PrepareFaultSites();

/// For a signal handler, on the thread of the fault.
FaultSite FindFaultSite(const EXCEPTION_RECORD& record, const CONTEXT& fault);

/// Whether the dynamic loader is loading or unloading something between the caller and the one who catches what the
/// caller throws. `catcher` is the stack pointer of the latter behind its call.
bool IsBelowLoader(const void* catcher);

}  // namespace portwise
