#include "core/fault_translator.h"

#include <malloc.h>

#include <exception>
#include <new>

#include "core/fault_resume.h"
#include "core/thread_local_singleton.h"

namespace portwise {
namespace {

// What the handling of a stack overflow finds.
constexpr ULONG kStackReserve = 64 << 10;
// Faults one after another that nobody has caught: each may happen in the handling of the one before. With a broken
// stack this would never end.
constexpr int kFaultsInARow = 8;

struct ThreadFault : ThreadLocalObject {
  FaultTranslator translator = nullptr;
  EXCEPTION_RECORD record = {};
  CONTEXT context = {};
  EXCEPTION_POINTERS pointers = {&record, &context};
  int faultsInARow = 0;
  // The C++ exception that the last fault became; before the first look for its handler only `thrown` is set.
  bool thrown = false;
  const void* header = nullptr;
};

const char kind = 0;

ThreadFault* Find() { return static_cast<ThreadFault*>(ThreadLocalSlot::Find(&kind)); }

LONG CALLBACK OnException(EXCEPTION_POINTERS* pointers) {
  ThreadFault* thread = Find();
  if (!thread || !thread->translator || !IsTranslatable(pointers->ExceptionRecord->ExceptionCode) ||
      thread->faultsInARow >= kFaultsInARow) {
    return EXCEPTION_CONTINUE_SEARCH;
  }
  ++thread->faultsInARow;
  thread->record = *pointers->ExceptionRecord;
  thread->record.ExceptionRecord = nullptr;
  KeepContext(*pointers->ContextRecord, &thread->context);
  ResumeInThrow(thread->record, pointers->ContextRecord);
  return EXCEPTION_CONTINUE_EXECUTION;
}

/// The library's handler, from the first guard until the library is unloaded.
struct VectoredHandler {
  PVOID handle = AddVectoredExceptionHandler(1, OnException);
  ~VectoredHandler() {
    if (handle) RemoveVectoredExceptionHandler(handle);
  }
};

ThreadFault* Prepare() {
  if (ThreadFault* known = Find()) return known;
  static const VectoredHandler handler;
  auto* made = new (std::nothrow) ThreadFault;
  if (!made || !ThreadLocalSlot::Add(&kind, made)) return nullptr;
  ULONG reserve = kStackReserve;
  SetThreadStackGuarantee(&reserve);
  return made;
}

}  // namespace

FaultTranslator SetFaultTranslator(FaultTranslator translator) noexcept {
  const DWORD error = GetLastError();
  ThreadFault* thread = translator ? Prepare() : Find();
  FaultTranslator previous = nullptr;
  if (thread) {
    previous = thread->translator;
    thread->translator = translator;
  }
  SetLastError(error);
  return previous;
}

void EndFault() noexcept {
  ThreadFault* thread = Find();
  if (!thread || !thread->thrown) return;
  if (thread->record.ExceptionCode == EXCEPTION_STACK_OVERFLOW) _resetstkoflw();
  thread->faultsInARow = 0;
  thread->thrown = false;
  thread->header = nullptr;
}

}  // namespace portwise

extern "C" void PortwiseThrowFault() {
  auto* thread = portwise::Find();
  thread->thrown = true;
  thread->header = nullptr;
  thread->translator(&thread->pointers);
  std::terminate();
}

extern "C" bool PortwiseIsFault(const void* exceptionHeader, bool searching) {
  auto* thread = portwise::Find();
  if (!thread || !thread->thrown) return false;
  if (searching && !thread->header) thread->header = exceptionHeader;
  return thread->header == exceptionHeader;
}
