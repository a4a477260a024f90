#include "connection/delayed_close.h"

#include <iterator>

#include "core/exception_handler.h"
#include "core/thread_local_singleton.h"

namespace portwise {
namespace {

HANDLE NewEvent(bool signalled) { return CreateEventW(nullptr, TRUE, signalled, nullptr); }

}  // namespace

DelayedClose::DelayedClose(Target& target)
    : target_(target), cancel_(NewEvent(false)), closeNow_(NewEvent(false)), ended_(NewEvent(true)) {}

DelayedClose::~DelayedClose() {
  RequestClose();
  AwaitEnd();
}

bool DelayedClose::Start(FaultReport* report) {
  const OScopedLock lock(lock_);
  if (IsUnderWay()) return true;
  if (!cancel_ || !closeNow_ || !ended_) return false;
  ResetEvent(cancel_.Get());
  ResetEvent(closeNow_.Get());
  ResetEvent(ended_.Get());
  report_ = report;
  // Whoever waited for the thread may unload the library while the thread's last steps are still to come.
  if (GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCWSTR>(&Run), library_.Put())) {
    thread_.Reset(CreateThread(nullptr, 0, Run, this, 0, nullptr));
    if (thread_) return true;
    library_.Reset();
  }
  thread_.Reset();
  SetEvent(ended_.Get());
  return false;
}

void DelayedClose::Cancel() {
  const OScopedLock lock(lock_);
  if (!thread_) return;
  RequestCancel();
  AwaitEnd();
  thread_.Reset();
}

bool DelayedClose::IsUnderWay() const {
  return thread_ && WaitForSingleObject(ended_.Get(), 0) == WAIT_TIMEOUT &&
         WaitForSingleObject(thread_.Get(), 0) == WAIT_TIMEOUT;
}

/// Of a process that ends the system stops the threads without asking them.
void DelayedClose::AwaitEnd() {
  if (!thread_) return;
  const HANDLE ends[] = {ended_.Get(), thread_.Get()};
  WaitForMultipleObjects(static_cast<DWORD>(std::size(ends)), ends, FALSE, INFINITE);
}

DWORD WINAPI DelayedClose::Run(LPVOID self) {
  auto* const close = static_cast<DelayedClose*>(self);
  {
    OExceptionHandler guard("DelayedCloseThread", OExceptionHandler::kReportEventLog);
    guard.SetReport(close->report_);
    RunGuarded(guard, [close] {
      close->Wait();
      return TRUE;
    });
  }
  // The library may learn of its own end before it would of the thread's.
  ThreadLocalSlot::DestroyObjects();
  const HMODULE library = close->library_.Detach();
  SetEvent(close->ended_.Get());
  FreeLibraryAndExitThread(library, 0);
}

void DelayedClose::Wait() {
  const HANDLE events[] = {cancel_.Get(), closeNow_.Get()};
  const DWORD period = target_.ClosePeriod();
  const DWORD happened = WaitForMultipleObjects(static_cast<DWORD>(std::size(events)), events, FALSE, period);
  if (happened != WAIT_OBJECT_0) target_.CloseNow();
}

}  // namespace portwise
