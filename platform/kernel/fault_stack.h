#pragma once

#include <windows.h>

#include <span>

namespace portwise::platform {

/// The calling thread's stack where faults are concerned. A thread takes part once SetThreadStackGuarantee has prepared
/// it; for other threads the functions do nothing and say no. All are safe in signal handlers.

/// True when an access to `address` ran past the end of the stack, and the reserve is still there.
bool IsStackOverflow(const void* address);

/// Makes the reserve usable until _resetstkoflw. False when that fails.
bool OpenStackReserve();

/// Copies the stack from `stackPointer` on, at most a mebibyte, before the handling of a fault overwrites it.
void KeepStack(DWORD64 stackPointer);

/// What KeepStack has copied last. The copy stays until the thread's next fault, or its end.
struct KeptStack {
  DWORD64 start = 0;
  std::span<const BYTE> bytes;
};
KeptStack LastKeptStack();

}  // namespace portwise::platform
