// x86-64 Linux. The platform brings an error of its own for other processors.

#include "core/fault_resume.h"

extern "C" void PortwiseFaultEntry();
extern "C" void PortwiseFetchEntry();

// Where a thread goes on after a fault, with the address of the instruction in RCX and everything else as it was. To
// the unwinder this is a frame that the instruction was interrupted by; below the 128 bytes that a function may use
// beyond its stack pointer.
//
// When the instruction itself could not be fetched, a call or jump went astray: the fault belongs to the call whose
// return address is on the stack.
asm(R"(
    .text
    .p2align 4
    .hidden PortwiseFetchEntry
    .globl PortwiseFetchEntry
    .type PortwiseFetchEntry, @function
PortwiseFetchEntry:
    popq %rcx
    decq %rcx
    .size PortwiseFetchEntry, . - PortwiseFetchEntry

    .hidden PortwiseFaultEntry
    .globl PortwiseFaultEntry
    .type PortwiseFaultEntry, @function
PortwiseFaultEntry:
    .cfi_startproc
    .cfi_signal_frame
    .cfi_def_cfa %rsp, 0
    .cfi_register %rip, %rcx
    leaq -128(%rsp), %rsp
    .cfi_adjust_cfa_offset 128
    pushq %rcx
    .cfi_adjust_cfa_offset 8
    .cfi_offset %rip, -136
    pushq %rbp
    .cfi_adjust_cfa_offset 8
    .cfi_offset %rbp, -144
    movq %rsp, %rbp
    .cfi_def_cfa_register %rbp
    andq $-16, %rsp
    call PortwiseThrowFault
    ud2
    .cfi_endproc
    .size PortwiseFaultEntry, . - PortwiseFaultEntry
)");

namespace portwise {

bool IsTranslatable(DWORD) { return true; }

void KeepContext(const CONTEXT& context, CONTEXT* kept) { *kept = context; }

void ResumeInThrow(const EXCEPTION_RECORD& record, CONTEXT* context) {
  constexpr DWORD kStepDirectionAlignment = 0x40500;  // what a function may rely on being clear
  const bool fetch = record.ExceptionCode == EXCEPTION_ACCESS_VIOLATION && record.NumberParameters >= 2 &&
                     record.ExceptionInformation[1] == context->Rip;
  context->Rcx = context->Rip;
  context->Rip = reinterpret_cast<DWORD64>(fetch ? PortwiseFetchEntry : PortwiseFaultEntry);
  context->EFlags &= ~kStepDirectionAlignment;
}

}  // namespace portwise
