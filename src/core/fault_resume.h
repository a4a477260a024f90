#pragma once

#include <windows.h>

namespace portwise {

// What differs between the targets about faults: fault_translator_linux.cpp or fault_translator_windows.cpp.

/// Whether an exception of this code is for a translator. What some frame of the system or of another library may be
/// waiting for is not, nor what is no failure.
bool IsTranslatable(DWORD exceptionCode);

/// Copies what a minidump can use.
void KeepContext(const CONTEXT& context, CONTEXT* kept);

/// Changes the context of a thread that met with an exception so that the thread goes on in PortwiseThrowFault, as if
/// called by the instruction at fault. Runs inside a signal handler.
void ResumeInThrow(const EXCEPTION_RECORD& record, CONTEXT* context);

}  // namespace portwise

/// Throws what the thread's translator makes of the fault.
extern "C" [[noreturn]] void PortwiseThrowFault();

/// Whether the C++ exception with this header came from a fault: it passes frames that have no entry for it in their
/// tables. `searching` says that the handler is being looked for.
extern "C" bool PortwiseIsFault(const void* exceptionHeader, bool searching);
