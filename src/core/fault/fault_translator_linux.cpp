// x86-64 Linux. The platform brings an error of its own for other processors.

#include <cstdlib>

#include "core/fault/fault_personality.h"
#include "core/fault/fault_resume.h"
#include "core/fault/fault_site_linux.h"
#include "core/fault/thread_fault.h"

// The platform's: who asks them gets to know of every frame that an exception meets.
extern "C" void PortwiseAddFramePass(decltype(PortwisePassesFrame)* function);
extern "C" void PortwiseRemoveFramePass(decltype(PortwisePassesFrame)* function);
// And the calls below which everything is caught: see there.
extern "C" BOOL PortwiseCallForCatcher(BOOL (*function)(void* body), void* body);
extern "C" const void* PortwiseCatcher();

extern "C" void PortwiseFaultEntry();
extern "C" void PortwiseFetchEntry();
extern "C" void PortwiseReturnEntry();

// Where a thread goes on after a fault, with the address of the instruction in RCX and everything else as it was. To
// the unwinder this is a frame that the instruction was interrupted by; below the 128 bytes that a function may use
// beyond its stack pointer. Prologues of large and of aligned frames find their caller by registers which calls do not
// keep, so the unwinder gets those as well.
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
    pushq %rax
    .cfi_offset %rax, -152
    pushq %rdx
    .cfi_offset %rdx, -160
    pushq %rsi
    .cfi_offset %rsi, -168
    pushq %rdi
    .cfi_offset %rdi, -176
    pushq %r8
    .cfi_offset %r8, -184
    pushq %r9
    .cfi_offset %r9, -192
    pushq %r10
    .cfi_offset %r10, -200
    pushq %r11
    .cfi_offset %r11, -208
    andq $-16, %rsp
    call PortwiseThrowAtFault
    ud2
    .cfi_endproc
    .size PortwiseFaultEntry, . - PortwiseFaultEntry
)");

// Where a function returns to whose caller's return address has been replaced by this: as if the caller had called this
// and not the function. The return address goes back to its place.
asm(R"(
    .text
    .p2align 4
    .hidden PortwiseReturnEntry
    .globl PortwiseReturnEntry
    .type PortwiseReturnEntry, @function
PortwiseReturnEntry:
    pushq %rax
    .cfi_startproc
    pushq %rbp
    .cfi_adjust_cfa_offset 8
    .cfi_offset %rbp, -16
    movq %rsp, %rbp
    .cfi_def_cfa_register %rbp
    leaq 8(%rbp), %rdi
    andq $-16, %rsp
    call PortwiseThrowAtReturn
    ud2
    .cfi_endproc
    .size PortwiseReturnEntry, . - PortwiseReturnEntry
)");

extern "C" [[noreturn, gnu::visibility("hidden"), gnu::used]] void PortwiseThrowAtFault() {
  // The loader would keep its lock, and whoever loads, unloads or starts a thread would wait for ever: better an end
  // that is heard.
  if (portwise::IsBelowLoader(PortwiseCatcher())) std::abort();
  PortwiseThrowFault();
}

extern "C" [[noreturn, gnu::visibility("hidden"), gnu::used]] void PortwiseThrowAtReturn(ULONG_PTR* returnAddress) {
  *returnAddress = portwise::ThreadFault::Find()->place;
  PortwiseThrowAtFault();
}

namespace portwise {

namespace {

/// Changes the context so that the thread goes on in PortwiseThrowAtFault, as if called by the instruction at fault.
void ResumeInThrow(const EXCEPTION_RECORD& record, CONTEXT* context) {
  constexpr DWORD kStepDirectionAlignment = 0x40500;  // what a function may rely on being clear
  const bool fetch = record.ExceptionCode == EXCEPTION_ACCESS_VIOLATION && record.NumberParameters >= 2 &&
                     record.ExceptionInformation[1] == context->Rip;
  context->Rcx = context->Rip;
  context->Rip = reinterpret_cast<DWORD64>(fetch ? PortwiseFetchEntry : PortwiseFaultEntry);
  context->EFlags &= ~kStepDirectionAlignment;
}

/// Runs inside signal handlers.
LONG CALLBACK OnException(EXCEPTION_POINTERS* pointers) {
  ThreadFault* thread = ThreadFault::Find();
  if (!thread || !thread->translator) return EXCEPTION_CONTINUE_SEARCH;
  const FaultSite site = FindFaultSite(*pointers->ExceptionRecord, *pointers->ContextRecord);
  if (!site.canThrow || !thread->Begin(*pointers, pointers->ContextRecord->Rsp)) return EXCEPTION_CONTINUE_SEARCH;
  if (site.returnAddress) {
    thread->place = reinterpret_cast<ULONG_PTR>(*site.returnAddress);
    *site.returnAddress = reinterpret_cast<void*>(PortwiseReturnEntry);
  } else {
    ResumeInThrow(thread->record, pointers->ContextRecord);
  }
  return EXCEPTION_CONTINUE_EXECUTION;
}

/// What the library has given to the process, from the first guard until the library is unloaded.
struct Hooks {
  PVOID handler = nullptr;
  Hooks() {
    PrepareFaultSites();
    PortwiseAddFramePass(PortwisePassesFrame);
    handler = AddVectoredExceptionHandler(1, OnException);
  }
  ~Hooks() {
    if (handler) RemoveVectoredExceptionHandler(handler);
    PortwiseRemoveFramePass(PortwisePassesFrame);
  }
};

}  // namespace

void PrepareFaults() { static const Hooks hooks; }

void KeepContext(const CONTEXT& context, CONTEXT* kept) { *kept = context; }

// The platform keeps the stack.
void CallOnFaultStack(const CONTEXT&, void (*function)(void* body), void* body) { function(body); }

}  // namespace portwise

extern "C" BOOL PortwiseCallInFaultFrame(BOOL (*function)(void* body), void* body) {
  return PortwiseCallForCatcher(function, body);
}
