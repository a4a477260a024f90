#pragma once

#include <windows.h>

namespace portwise {

// What differs between the processors: fault_frame_x64.cpp or fault_frame_x86.cpp.

/// The registers that a fault is thrown with.
extern DWORD_PTR CONTEXT::*const kCounter;
extern DWORD_PTR CONTEXT::*const kStackPointer;
extern DWORD_PTR CONTEXT::*const kScratch;

/// What to add to the address of an instruction at fault so that the unwinder, to which it is a return address, finds
/// what belongs to the instruction.
DWORD_PTR ReturnOffset(DWORD exceptionCode);

/// Takes the context of a fault in code of others to the call that led from this library there, when a function between
/// has been compiled by this compiler and expects no exception: its tables would end the process. What those functions
/// own is not destroyed. False when the context is as it was. `frame` is where the search ends.
bool LeaveCodeOfOthers(CONTEXT* context, ULONG_PTR frame);

/// Lets the thread go on by the changed context; to be returned by an exception handler.
EXCEPTION_DISPOSITION ContinueBy(EXCEPTION_RECORD* record, CONTEXT* context);

}  // namespace portwise

/// Where a thread goes on after a fault, with everything but the scratch register as it was: PortwiseFaultEntry pushes
/// that register, so that to the unwinder the instruction at fault has called PortwiseFetchEntry. When the instruction
/// itself could not be fetched, the return address of the call that went astray is on the stack already.
extern "C" void PortwiseFaultEntry();
extern "C" void PortwiseFetchEntry();

/// The handler of the frames below PortwiseCallInFaultFrame. `frame` is theirs.
extern "C" EXCEPTION_DISPOSITION PortwiseOnFault(EXCEPTION_RECORD* record, void* frame, CONTEXT* context,
                                                 void* dispatcher);
