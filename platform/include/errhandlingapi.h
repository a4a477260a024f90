#pragma once

/// Exceptions: processor faults and what RaiseException makes, offered to vectored handlers on the thread concerned.
///
/// A handler may change the context and return EXCEPTION_CONTINUE_EXECUTION; the thread then goes on by it. There are
/// no handlers of stack frames. A fault that no handler takes goes to whoever handled its signal before the first
/// vectored handler was added, and otherwise ends the process.

#include <windef.h>
#include <winnt.h>

extern "C" {

#define EXCEPTION_CONTINUE_EXECUTION (-1)
#define EXCEPTION_CONTINUE_SEARCH 0

using PVECTORED_EXCEPTION_HANDLER = LONG(CALLBACK*)(EXCEPTION_POINTERS* pointers);

/// Handlers run in the order in which they were added, those with `first` before the others and the newest of them
/// first. For a fault they run inside a signal handler: only async-signal-safe calls, thread-local slots and the last
/// error may be used. The result is null when memory runs out.
PVOID WINAPI AddVectoredExceptionHandler(ULONG first, PVECTORED_EXCEPTION_HANDLER handler);
/// Returns 0 when `handle` is not that of a handler. No call of the handler runs any more afterwards.
ULONG WINAPI RemoveVectoredExceptionHandler(PVOID handle);

/// Ends the process by abort when no handler takes the exception.
void WINAPI RaiseException(DWORD code, DWORD flags, DWORD argumentCount, const ULONG_PTR* arguments);

/// How much stack the handling of a stack overflow finds on the calling thread: sets it to at least `*bytes`, and
/// `*bytes` to what it was; 0 only asks. FALSE with ERROR_NOT_ENOUGH_MEMORY, or with ERROR_INVALID_PARAMETER when the
/// stack is too small or too full. Without it a thread's stack overflow is not offered to the handlers. It also gives
/// the thread a signal stack, unless it has one, and memory in which faults keep the stack for a minidump.
BOOL WINAPI SetThreadStackGuarantee(PULONG bytes);

/// Arms the end of the calling thread's stack again after an overflow, once the stack has been unwound; a function of
/// the C runtime. 0 when too much of the stack is still in use.
int _resetstkoflw();

}  // extern "C"
