#include "core/fault/fault_frame_windows.h"

#include "core/fault/call_site_table.h"

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

namespace {

DWORD64 ImageOf(DWORD64 address) {
  void* image = nullptr;
  return reinterpret_cast<DWORD64>(RtlPcToFileHeader(reinterpret_cast<void*>(address), &image));
}

/// Whether a function's data begin like a table of this compiler; those of other compilers must not be read as one.
bool IsCompilersTable(const BYTE* table) {
  if (!table || table[0] != 0xFF) return false;
  if (table[1] == 0xFF) return table[2] == 0x01;
  if (table[1] != 0x9B) return false;
  // How far it is to the types, in one to three bytes.
  int at = 2;
  while (at < 4 && (table[at] & 0x80)) ++at;
  return table[at + 1] == 0x01;
}

/// One frame up. Returns whether a C++ exception that came there would end the process; `isCall` says that the counter
/// is a return address.
bool Unwind(CONTEXT* context, bool isCall) {
  const DWORD64 counter = context->Rip;
  DWORD64 image = 0;
  const auto function = RtlLookupFunctionEntry(counter, &image, nullptr);
  if (!function) {  // it has nothing on the stack but its return address
    context->Rip = *reinterpret_cast<const DWORD64*>(context->Rsp);
    context->Rsp += sizeof(DWORD64);
    return false;
  }
  void* data = nullptr;
  DWORD64 establisher = 0;
  const auto handler =
      RtlVirtualUnwind(UNW_FLAG_EHANDLER, image, counter, function, context, &data, &establisher, nullptr);
  const auto* table = static_cast<const BYTE*>(data);
  return handler && IsCompilersTable(table) &&
         !HasCallSite(table, image + function->BeginAddress, counter - (isCall ? 1 : 0));
}

}  // namespace

bool LeaveCodeOfOthers(CONTEXT* context, ULONG_PTR frame) {
  const DWORD64 ours = ImageOf(reinterpret_cast<DWORD64>(reinterpret_cast<void*>(PortwiseFaultEntry)));
  CONTEXT place = *context;
  bool ends = false;
  DWORD64 last = 0;
  for (bool isCall = false; ImageOf(place.Rip) != ours; isCall = true) {
    // Where the stack is broken this leads nowhere.
    if (place.Rsp <= last || place.Rsp >= frame) return false;
    last = place.Rsp;
    ends = Unwind(&place, isCall) || ends;
  }
  if (ends) *context = place;
  return ends;
}

EXCEPTION_DISPOSITION ContinueBy(EXCEPTION_RECORD* record, CONTEXT* context) {
  // The system has noted already that such an exception must not be continued. It is not: this is another place.
  if (record->ExceptionFlags & EXCEPTION_NONCONTINUABLE) RtlRestoreContext(context, nullptr);
  return ExceptionContinueExecution;
}

}  // namespace portwise
