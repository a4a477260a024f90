#include "core/fault_resume.h"

extern "C" void PortwiseFaultEntry();
extern "C" void PortwiseFetchEntry();

// Where a thread goes on after a fault, with everything but RCX (ECX) as it was: PortwiseFaultEntry pushes that
// register, so that to the unwinder the instruction at fault has called PortwiseFetchEntry. When the instruction itself
// could not be fetched, the return address of the call that went astray is on the stack already.
#ifdef __x86_64__
asm(R"(
    .text
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
#else
asm(R"(
    .text
    .p2align 4
    .globl _PortwiseFaultEntry
    .def _PortwiseFaultEntry; .scl 2; .type 32; .endef
_PortwiseFaultEntry:
    pushl %ecx
    .globl _PortwiseFetchEntry
    .def _PortwiseFetchEntry; .scl 2; .type 32; .endef
_PortwiseFetchEntry:
    .cfi_startproc
    pushl %ebp
    .cfi_def_cfa_offset 8
    .cfi_offset %ebp, -8
    movl %esp, %ebp
    .cfi_def_cfa_register %ebp
    andl $-16, %esp
    call _PortwiseThrowFault
    int3
    .cfi_endproc
)");
#endif

namespace portwise {
namespace {

#ifdef __x86_64__
constexpr auto kCounter = &CONTEXT::Rip;
constexpr auto kScratch = &CONTEXT::Rcx;
#else
constexpr auto kCounter = &CONTEXT::Eip;
constexpr auto kScratch = &CONTEXT::Ecx;
#endif

}  // namespace

bool IsTranslatable(DWORD exceptionCode) {
  // Of the codes that mean an error those of the system; the others are C++ exceptions of other compilers and what
  // programs agree on among themselves.
  const bool systemError = exceptionCode >> 28 == 0xC;
  return systemError || exceptionCode == EXCEPTION_DATATYPE_MISALIGNMENT || exceptionCode == ERROR_INTERNAL_ERROR;
}

void KeepContext(const CONTEXT& context, CONTEXT* kept) {
  *kept = context;
#ifdef __x86_64__
  // The extended state lies behind the context, and is not copied.
  constexpr DWORD kExtendedState = 0x40;
  kept->ContextFlags &= ~kExtendedState;
#endif
}

void ResumeInThrow(const EXCEPTION_RECORD& record, CONTEXT* context) {
  constexpr DWORD kStepDirectionAlignment = 0x40500;  // what a function may rely on being clear
  const auto counter = context->*kCounter;
  const bool fetch = record.ExceptionCode == EXCEPTION_ACCESS_VIOLATION && record.NumberParameters >= 2 &&
                     record.ExceptionInformation[1] == counter;
  // A return address lies behind its call, and the unwinder looks one byte before it. Only in the prologues, where
  // stacks overflow, the exact address matters more.
  context->*kScratch = counter + (record.ExceptionCode == EXCEPTION_STACK_OVERFLOW ? 0 : 1);
  context->*kCounter =
      reinterpret_cast<ULONG_PTR>(reinterpret_cast<void*>(fetch ? PortwiseFetchEntry : PortwiseFaultEntry));
  context->EFlags &= ~kStepDirectionAlignment;
}

}  // namespace portwise
