#include "platform/kernel/exceptions.h"

#include <sched.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <new>
#include <vector>

#include "platform/kernel/cpu_context.h"
#include "platform/kernel/fail.h"
#include "platform/kernel/fault_stack.h"

namespace portwise::platform {
namespace {

struct Handler {
  PVECTORED_EXCEPTION_HANDLER function;
};
using HandlerList = std::vector<std::shared_ptr<Handler>>;

// Signal handlers read the list without a lock. Whoever changes it puts another one in its place, and waits until
// nobody reads the old one any more.
std::mutex changing;
std::atomic<const HandlerList*> handlers = nullptr;
std::atomic<int> readers = 0;

/// Under the lock.
void Replace(std::unique_ptr<const HandlerList> list) {
  const std::unique_ptr<const HandlerList> old(handlers.exchange(list.release()));
  while (readers != 0) sched_yield();
}

std::unique_ptr<HandlerList> CopyOfList() {
  const HandlerList* list = handlers;
  return list ? std::make_unique<HandlerList>(*list) : std::make_unique<HandlerList>();
}

}  // namespace

LONG CallVectoredHandlers(EXCEPTION_POINTERS* pointers) {
  LONG result = EXCEPTION_CONTINUE_SEARCH;
  ++readers;
  if (const HandlerList* list = handlers) {
    for (auto handler = list->begin(); handler != list->end() && result == EXCEPTION_CONTINUE_SEARCH; ++handler) {
      result = (*handler)->function(pointers);
    }
  }
  --readers;
  return result;
}

}  // namespace portwise::platform

using namespace portwise::platform;

PVOID WINAPI AddVectoredExceptionHandler(ULONG first, PVECTORED_EXCEPTION_HANDLER function) try {
  std::lock_guard lock(changing);
  auto handler = std::make_shared<Handler>(Handler{function});
  auto list = CopyOfList();
  list->insert(first ? list->begin() : list->end(), handler);
  Replace(std::move(list));
  InstallFaultSignals();
  return handler.get();
} catch (const std::bad_alloc&) {
  return nullptr;
}

ULONG WINAPI RemoveVectoredExceptionHandler(PVOID handle) {
  std::lock_guard lock(changing);
  auto list = CopyOfList();
  const auto removed = std::erase_if(*list, [handle](const auto& handler) { return handler.get() == handle; });
  if (removed > 0) Replace(std::move(list));
  return removed > 0 ? 1 : 0;
}

// Nothing in here may need cleaning up: a handler that takes the exception leaves the function in the middle.
void WINAPI RaiseException(DWORD code, DWORD flags, DWORD argumentCount, const ULONG_PTR* arguments) {
  EXCEPTION_RECORD record = {};
  record.ExceptionCode = code;
  record.ExceptionFlags = flags & EXCEPTION_NONCONTINUABLE;
  record.ExceptionAddress = __builtin_return_address(0);
  record.NumberParameters = arguments ? std::min<DWORD>(argumentCount, EXCEPTION_MAXIMUM_PARAMETERS) : 0;
  std::copy_n(arguments, record.NumberParameters, record.ExceptionInformation);
  ucontext_t machine;
  getcontext(&machine);
  CONTEXT context;
  ContextOf(machine, &context);
  // Inside the call that stored it, as for a fault, and not behind it.
  --context.Rip;
  const DWORD64 stackPointer = context.Rsp;
  const DWORD64 here = context.Rip;
  EXCEPTION_POINTERS pointers{&record, &context};
  if (CallVectoredHandlers(&pointers) != EXCEPTION_CONTINUE_EXECUTION) std::abort();
  if (context.Rip == here) {
    if (record.ExceptionFlags & EXCEPTION_NONCONTINUABLE) std::abort();
    return;
  }
  KeepStack(stackPointer);
  ApplyContext(context, &machine);
  setcontext(&machine);
}
