#pragma once

#include <windows.h>

namespace portwise {

/// Where a fault stands to the C library's allocator. A thread that faults in there holds the heap's lock as a rule;
/// were an exception thrown, its memory would have to come from the same heap, and the thread would wait for itself.
struct AllocatorCall {
  bool isInside = false;
  /// Where the return address of the call of the allocator is on the stack. Null when the call cannot be let finish
  /// and then be left by an exception.
  void** returnAddress = nullptr;
};

/// Looks the allocator up; once before the other.
void PrepareAllocatorSearch();

/// For a signal handler, on the thread of the fault.
AllocatorCall FindAllocatorCall(const CONTEXT& fault);

}  // namespace portwise
