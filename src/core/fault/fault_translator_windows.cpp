// A vectored handler would see every exception of the system before those whom it is for, and take theirs away. A frame
// handler is asked when no frame below it wanted the exception.

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>

#include "core/fault/fault_frame_windows.h"
#include "core/fault/fault_resume.h"
#include "core/fault/thread_fault.h"

namespace portwise {
namespace {

// C++ exceptions: of the system's compiler, then this one's thrown, unwinding and forced.
constexpr DWORD kCxxExceptions[] = {0xE06D7363, 0x20474343, 0x21474343, 0x22474343};

const char stackKind = 0;

/// What the stack held at the last fault, from the stack pointer on. Handling the fault overwrites it before a minidump
/// can be written.
struct FaultStack : ThreadLocalObject {
  ULONG_PTR start = 0;
  SIZE_T size = 0;
  BYTE bytes[64 << 10];

  static FaultStack* Find() { return static_cast<FaultStack*>(ThreadLocalSlot::Find(&stackKind)); }
};

void KeepStack(ULONG_PTR stackPointer, ULONG_PTR frame) {
  FaultStack* stack = FaultStack::Find();
  if (!stack) return;
  // Up to the guard's frame it lies in pages that are there. A stack pointer beyond is lost.
  const SIZE_T size = stackPointer < frame ? frame - stackPointer : 0;
  stack->start = stackPointer;
  stack->size = std::min<SIZE_T>(size, sizeof stack->bytes);
  std::memcpy(stack->bytes, reinterpret_cast<const void*>(stackPointer), stack->size);
}

void ResumeInThrow(const EXCEPTION_RECORD& record, CONTEXT* context, ULONG_PTR frame) {
  constexpr DWORD kStepDirectionAlignment = 0x40500;  // what a function may rely on being clear
  const bool isCall = LeaveCodeOfOthers(context, frame);
  const DWORD_PTR counter = context->*kCounter;
  const bool fetch = !isCall && record.ExceptionCode == EXCEPTION_ACCESS_VIOLATION && record.NumberParameters >= 2 &&
                     record.ExceptionInformation[1] == counter;
  context->*kScratch = counter + (isCall ? 0 : ReturnOffset(record.ExceptionCode));
  context->*kCounter =
      reinterpret_cast<DWORD_PTR>(reinterpret_cast<void*>(fetch ? PortwiseFetchEntry : PortwiseFaultEntry));
  context->EFlags &= ~kStepDirectionAlignment;
}

}  // namespace

void PrepareFaults() {
  if (FaultStack::Find()) return;
  // Without it dumps lack the stack.
  if (auto* stack = new (std::nothrow) FaultStack) ThreadLocalSlot::Add(&stackKind, stack);
}

void KeepContext(const CONTEXT& context, CONTEXT* kept) {
  *kept = context;
#ifdef __x86_64__
  // The extended state lies behind the context, and is not copied.
  constexpr DWORD kExtendedState = 0x40;
  kept->ContextFlags &= ~kExtendedState;
#endif
}

[[gnu::noinline]] void CallOnFaultStack(const CONTEXT& fault, void (*function)(void* body), void* body) {
  const FaultStack* stack = FaultStack::Find();
  const auto here = reinterpret_cast<ULONG_PTR>(__builtin_frame_address(0));
  constexpr SIZE_T kRoom = sizeof stack->bytes;
  // A fault further down is out of reach of what the body overwrites.
  if (stack && stack->size > 0 && stack->start == fault.*kStackPointer && stack->start < here &&
      here - stack->start < kRoom) {
    // Memory of this frame that covers what lay there, down to the fault's stack pointer.
    auto* room = static_cast<BYTE*>(__builtin_alloca(kRoom));
    const auto from = reinterpret_cast<ULONG_PTR>(room);
    const ULONG_PTR first = std::max(stack->start, from);
    const ULONG_PTR last = std::min(stack->start + stack->size, from + kRoom);
    if (first < last) std::memcpy(room + (first - from), stack->bytes + (first - stack->start), last - first);
    asm volatile("" ::"r"(room) : "memory");
    function(body);
    asm volatile("" ::"r"(room) : "memory");
    return;
  }
  function(body);
}

}  // namespace portwise

extern "C" EXCEPTION_DISPOSITION PortwiseOnFault(EXCEPTION_RECORD* record, void* frame, CONTEXT* context, void*) {
  using namespace portwise;
  constexpr DWORD kUnwinding = 0x66;
  const bool isCxx = std::find(std::begin(kCxxExceptions), std::end(kCxxExceptions), record->ExceptionCode) !=
                     std::end(kCxxExceptions);
  ThreadFault* thread = ThreadFault::Find();
  if ((record->ExceptionFlags & kUnwinding) || isCxx || !thread ||
      !thread->Begin({record, context}, context->*kStackPointer)) {
    return ExceptionContinueSearch;
  }
  thread->place = reinterpret_cast<ULONG_PTR>(frame);
  KeepStack(context->*kStackPointer, thread->place);
  ResumeInThrow(thread->record, context, thread->place);
  return ContinueBy(record, context);
}
