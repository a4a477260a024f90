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
/// A fault passes functions that are not supposed to throw. Where the compiler expected none (at a call that cannot
/// throw, in a std::atomic, in inline assembly, right below noexcept) what the function owns is not destroyed, its
/// locks included: see OScopedLock. A noexcept function that has a try block or objects to destroy is passed too, but
/// in code that core is not linked into it ends the process.
///
/// On Linux a stack overflow inside the C library or the dynamic loader is thrown when the call that led there returns,
/// since their locks may be held; what such a call has made is lost to its caller. Other faults inside malloc and the
/// loader, and overflows in realloc, are not translated. A fault in what the loader runs while it loads or unloads ends
/// the process: only DllMain may fault at an attach or a detach of the process.
FaultTranslator SetFaultTranslator(FaultTranslator translator) noexcept;

/// Runs `function(body)` and returns its result. Everything that is to be translated must run inside such a call: there
/// are systems that look for who handles an exception by the frames of the stack.
BOOL CallTranslated(BOOL (*function)(void* body), void* body);

/// Runs `function(body)` with the stack below the caller as it was at the fault with this context, for a minidump. Just
/// runs it where the system has kept the stack elsewhere, when it is too far down, and when the thread has met with
/// another fault since.
void CallOnFaultStack(const CONTEXT& fault, void (*function)(void* body), void* body);

/// To be called when a translated fault has been caught: arms the stack's end again after a stack overflow.
void EndFault() noexcept;

}  // namespace portwise
