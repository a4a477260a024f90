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
  thread_.Reset(CreateThread(nullptr, 0, Run, this, 0, nullptr));
  if (!thread_) SetEvent(ended_.Get());
  return static_cast<bool>(thread_);
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
  // Whoever waits may unload the library before the thread has quite ended.
  ThreadLocalSlot::DestroyObjects();
  SetEvent(close->ended_.Get());
  return 0;
}

void DelayedClose::Wait() {
  const HANDLE events[] = {cancel_.Get(), closeNow_.Get()};
  const DWORD period = target_.ClosePeriod();
  const DWORD happened = WaitForMultipleObjects(static_cast<DWORD>(std::size(events)), events, FALSE, period);
  if (happened != WAIT_OBJECT_0) target_.CloseNow();
}

}  // namespace portwise
