#pragma once

#include <windows.h>

namespace portwise {

// What differs between the targets about faults: fault_translator_linux.cpp or fault_translator_windows.cpp.

/// Sees to it that the process's faults reach the translators; called before the first one is installed, and more
/// often.
void PrepareFaults();

/// Copies what a minidump can use.
void KeepContext(const CONTEXT& context, CONTEXT* kept);

}  // namespace portwise

/// Runs `function(body)` in a frame below which faults reach the translator, and returns its result.
extern "C" BOOL PortwiseCallInFaultFrame(BOOL (*function)(void* body), void* body);

/// Throws what the thread's translator makes of the fault that was kept last.
extern "C" [[noreturn]] void PortwiseThrowFault();

/// Whether the C++ exception with this header came from a fault: it passes frames that have no entry for it in their
/// tables. Asked for every frame that an exception meets; `searching` says that the handler is being looked for.
extern "C" bool PortwiseIsFault(const void* exceptionHeader, bool searching);

/// The header of the fault whose cleanups the calling thread is running; null when it is running none, or those of
/// another exception as well.
extern "C" void* PortwiseFaultBeingUnwound();
