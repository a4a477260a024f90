#include "core/fault/fault_frame_windows.h"

asm(R"(
    .text
    .p2align 4
    .globl PortwiseCallInFaultFrame
    .def PortwiseCallInFaultFrame; .scl 2; .type 32; .endef
    .seh_proc PortwiseCallInFaultFrame
PortwiseCallInFaultFrame:
    subq $40, %rsp
    .seh_stackalloc 40
    .seh_endprologue
    .seh_handler PortwiseOnFault, @except
    movq %rcx, %rax
    movq %rdx, %rcx
    call *%rax
    nop
    addq $40, %rsp
    ret
    .seh_endproc

    .p2align 4
    .globl PortwiseFaultEntry
    .def PortwiseFaultEntry; .scl 2; .type 32; .endef
PortwiseFaultEntry:
    pushq %rcx
    .globl PortwiseFetchEntry
    .def PortwiseFetchEntry; .scl 2; .type 32; .endef
    .seh_proc PortwiseFetchEntry
PortwiseFetchEntry:
    pushq %rbp
    .seh_pushreg %rbp
    movq %rsp, %rbp
    .seh_setframe %rbp, 0
    .seh_endprologue
    andq $-16, %rsp
    subq $32, %rsp
    call PortwiseThrowFault
    int3
    .seh_endproc
)");

namespace portwise {

DWORD_PTR CONTEXT::*const kCounter = &CONTEXT::Rip;
DWORD_PTR CONTEXT::*const kStackPointer = &CONTEXT::Rsp;
DWORD_PTR CONTEXT::*const kScratch = &CONTEXT::Rcx;

// A return address lies behind its call, and the compiler's personality looks one byte before it. The system's unwinder
// does not: in the prologues, where stacks overflow, it needs the exact address.
DWORD_PTR ReturnOffset(DWORD exceptionCode) { return exceptionCode == EXCEPTION_STACK_OVERFLOW ? 0 : 1; }

EXCEPTION_DISPOSITION ContinueBy(EXCEPTION_RECORD* record, CONTEXT* context) {
  // The system has noted already that such an exception must not be continued. It is not: this is another place.
  if (record->ExceptionFlags & EXCEPTION_NONCONTINUABLE) RtlRestoreContext(context, nullptr);
  return ExceptionContinueExecution;
}

}  // namespace portwise
