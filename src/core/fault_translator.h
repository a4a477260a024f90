#pragma once

#include <windows.h>

namespace portwise {

/// Turns an exception of the system, such as a processor fault, into a C++ exception: throws, and never returns. It
/// runs on the stack of the thread concerned, below the instruction that faulted, as if that instruction had called it;
/// so objects are destroyed on the way to whoever catches. The pointers stay valid until the thread's next fault.
using FaultTranslator = void (*)(EXCEPTION_POINTERS* pointers);

/// Installs the calling thread's translator and returns the one before; null is none. While a thread has none, its
/// faults go where they would go without this library. Leaves the last error as it is. When memory runs out the thread
/// stays without a translator.
///
/// A fault passes functions that are not supposed to throw: noexcept does not end the process, but what such a
/// function owns is not destroyed.
FaultTranslator SetFaultTranslator(FaultTranslator translator) noexcept;

/// To be called when a translated fault has been caught: arms the stack's end again after a stack overflow.
void EndFault() noexcept;

}  // namespace portwise
