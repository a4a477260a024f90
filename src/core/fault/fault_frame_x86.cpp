#include <unwind.h>

#include "core/fault/fault_frame_windows.h"
#include "core/fault/fault_resume.h"
#include "core/fault/thread_fault.h"

extern "C" BOOL PortwiseCallWithRecord(BOOL (*function)(void* body), void* body);
/// Throws from the frame, whose record of the handler this is: what lies between gets no cleanup.
extern "C" [[noreturn]] void PortwiseThrowInFrame(DWORD_PTR frame);

// The frame's record, which the system finds by fs:0, is at -20(%ebp).
asm(R"(
    .text
    .p2align 4
    .globl _PortwiseCallWithRecord
    .def _PortwiseCallWithRecord; .scl 2; .type 32; .endef
_PortwiseCallWithRecord:
    .cfi_startproc
    pushl %ebp
    .cfi_def_cfa_offset 8
    .cfi_offset %ebp, -8
    movl %esp, %ebp
    .cfi_def_cfa_register %ebp
    pushl %ebx
    .cfi_offset %ebx, -12
    pushl %esi
    .cfi_offset %esi, -16
    pushl %edi
    .cfi_offset %edi, -20
    pushl $_PortwiseOnFault
    pushl %fs:0
    movl %esp, %fs:0
    subl $16, %esp
    andl $-16, %esp
    movl 12(%ebp), %eax
    movl %eax, (%esp)
    call *8(%ebp)
    movl -20(%ebp), %ecx
    movl %ecx, %fs:0
    leal -12(%ebp), %esp
    .cfi_remember_state
    popl %edi
    popl %esi
    popl %ebx
    popl %ebp
    .cfi_def_cfa %esp, 4
    ret
    .cfi_restore_state

    .globl _PortwiseThrowInFrame
    .def _PortwiseThrowInFrame; .scl 2; .type 32; .endef
_PortwiseThrowInFrame:
    movl 4(%esp), %esp
    leal 20(%esp), %ebp
    andl $-16, %esp
    call _PortwiseThrowFault
    int3
    .cfi_endproc

    .p2align 4
    .globl _PortwiseFaultEntry
    .def _PortwiseFaultEntry; .scl 2; .type 32; .endef
_PortwiseFaultEntry:
    pushl %eax
    .globl _PortwiseFetchEntry
    .def _PortwiseFetchEntry; .scl 2; .type 32; .endef
_PortwiseFetchEntry:
    .cfi_startproc
    pushl %ebp
    .cfi_def_cfa_offset 8
    .cfi_offset %ebp, -8
    movl %esp, %ebp
    .cfi_def_cfa_register %ebp
    pushl %ecx
    .cfi_offset %ecx, -12
    pushl %edx
    .cfi_offset %edx, -16
    andl $-16, %esp
    call _PortwiseThrowToFrame
    int3
    .cfi_endproc
)");

namespace {

/// An exception that leaves frames leaves their records in the system's list.
class HandlerList {
 public:
  HandlerList() = default;
  ~HandlerList() { __writefsdword(0, before_); }
  HandlerList(const HandlerList&) = delete;
  HandlerList& operator=(const HandlerList&) = delete;

 private:
  const DWORD before_ = __readfsdword(0);
};

struct Way {
  const DWORD_PTR frame;
  bool isKnown = false;
};

_Unwind_Reason_Code Step(_Unwind_Context* context, void* argument) {
  auto& way = *static_cast<Way*>(argument);
  way.isKnown = _Unwind_GetCFA(context) > way.frame;
  return way.isKnown ? _URC_END_OF_STACK : _URC_NO_REASON;
}

}  // namespace

extern "C" BOOL PortwiseCallInFaultFrame(BOOL (*function)(void* body), void* body) {
  const HandlerList list;
  return PortwiseCallWithRecord(function, body);
}

extern "C" [[noreturn]] void PortwiseThrowToFrame() {
  Way way{portwise::ThreadFault::Find()->place};
  // The records of frames between here and there would be found when those frames are gone.
  __writefsdword(0, way.frame);
  // The unwinder knows this library's code alone.
  _Unwind_Backtrace(Step, &way);
  if (!way.isKnown) PortwiseThrowInFrame(way.frame);
  PortwiseThrowFault();
}

namespace portwise {

DWORD_PTR CONTEXT::*const kCounter = &CONTEXT::Eip;
DWORD_PTR CONTEXT::*const kStackPointer = &CONTEXT::Esp;
// Not ECX, by which prologues of aligned frames find their caller.
DWORD_PTR CONTEXT::*const kScratch = &CONTEXT::Eax;

// A return address lies behind its call, and the unwinder looks one byte before it.
DWORD_PTR ReturnOffset(DWORD) { return 1; }

// PortwiseThrowToFrame does.
bool LeaveCodeOfOthers(CONTEXT*, ULONG_PTR) { return false; }

EXCEPTION_DISPOSITION ContinueBy(EXCEPTION_RECORD* record, CONTEXT*) {
  record->ExceptionFlags &= ~static_cast<DWORD>(EXCEPTION_NONCONTINUABLE);
  return ExceptionContinueExecution;
}

}  // namespace portwise
