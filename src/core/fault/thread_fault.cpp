#include "core/fault/thread_fault.h"

#include <malloc.h>
#include <unwind.h>

#include <cstring>
#include <exception>
#include <new>

#include "core/fault/fault_resume.h"

namespace portwise {
namespace {

// What the handling of a stack overflow finds.
constexpr ULONG kStackReserve = 64 << 10;
// Faults one after another that nobody has caught: each may happen in the handling of the one before. With a broken
// stack this would never end.
constexpr int kFaultsInARow = 8;

const char kind = 0;

}  // namespace

ThreadFault* ThreadFault::Find() { return static_cast<ThreadFault*>(ThreadLocalSlot::Find(&kind)); }

ThreadFault* ThreadFault::Prepare() {
  ThreadFault* thread = Find();
  if (!thread) {
    PrepareFaults();
    thread = new (std::nothrow) ThreadFault;
    if (!thread || !ThreadLocalSlot::Add(&kind, thread)) return nullptr;
  }
  // Each time: at a thread's end the system may have let go of the reserve already.
  ULONG reserve = kStackReserve;
  SetThreadStackGuarantee(&reserve);
  return thread;
}

bool ThreadFault::Begin(const EXCEPTION_POINTERS& fault, ULONG_PTR stackPointer) {
  if (!translator) return false;
  // What handles a fault runs below it until it has found who catches, and then leaves frame by frame. So a fault that
  // is not below the last one has made headway, and is none of a series without end.
  if (IsCaught() || stackPointer >= lastStackPointer) faultsInARow = 0;
  if (faultsInARow >= kFaultsInARow) return false;
  ++faultsInARow;
  thrown = false;
  header = nullptr;
  unwinding = nullptr;
  lastStackPointer = stackPointer;
  record = *fault.ExceptionRecord;
  record.ExceptionRecord = nullptr;
  KeepContext(*fault.ContextRecord, &context);
  if (record.ExceptionCode == EXCEPTION_STACK_OVERFLOW) isStackOpen = true;
  return true;
}

void ThreadFault::Throw() {
  thrown = true;
  translator(&pointers);
  std::terminate();
}

bool ThreadFault::IsCaught() const { return thrown && header && std::uncaught_exceptions() == 0; }

void ThreadFault::MendStack() {
  if (isStackOpen && (!thrown || IsCaught())) isStackOpen = !_resetstkoflw();
}

void ThreadFault::End() {
  if (!thrown) return;
  thrown = false;
  header = nullptr;
  unwinding = nullptr;
  lastStackPointer = 0;
  MendStack();
}

}  // namespace portwise

extern "C" void PortwiseThrowFault() { portwise::ThreadFault::Find()->Throw(); }

extern "C" bool PortwiseIsFault(const void* exceptionHeader, bool searching) {
  auto* thread = portwise::ThreadFault::Find();
  if (!thread || !thread->thrown) return false;
  if (searching && !thread->header) thread->header = exceptionHeader;
  const bool isFault = thread->header == exceptionHeader;
  thread->unwinding = isFault && !searching ? exceptionHeader : nullptr;
  return isFault;
}

extern "C" void* PortwiseFaultBeingUnwound() {
  const auto* thread = portwise::ThreadFault::Find();
  if (!thread || !thread->unwinding || std::uncaught_exceptions() == 0) return nullptr;
  // The unwinder has told nothing since, but a handler may have caught it: the one whose code is running. The object
  // lies behind its header.
  const std::exception_ptr handled = std::current_exception();
  const void* object = nullptr;
  static_assert(sizeof handled == sizeof object);
  std::memcpy(&object, &handled, sizeof object);
  const void* fault = static_cast<const _Unwind_Exception*>(thread->unwinding) + 1;
  return object == fault ? nullptr : const_cast<void*>(thread->unwinding);
}
