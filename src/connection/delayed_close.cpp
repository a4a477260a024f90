#include "connection/delayed_close.h"

#include <iterator>

#include "core/fault/exception_handler.h"

namespace portwise {
namespace {

unique_handle NewEvent() { return unique_handle(CreateEventW(nullptr, TRUE, FALSE, nullptr)); }

}  // namespace

DelayedClose::DelayedClose(Target& target) : target_(target), cancel_(NewEvent()), closeNow_(NewEvent()) {}

DelayedClose::~DelayedClose() {
  RequestClose();
  thread_.Join();
}

bool DelayedClose::Start(FaultReport* report) {
  const OScopedLock lock(lock_);
  if (thread_.IsRunning()) return true;
  if (!cancel_ || !closeNow_) return false;
  ResetEvent(cancel_.Get());
  ResetEvent(closeNow_.Get());
  report_ = report;
  return thread_.Start([](void* self) { static_cast<DelayedClose*>(self)->Run(); }, this);
}

bool DelayedClose::IsWaiting() {
  const OScopedLock lock(lock_);
  return thread_.IsRunning();
}

void DelayedClose::Cancel() {
  const OScopedLock lock(lock_);
  RequestCancel();
  thread_.Join();
}

void DelayedClose::Run() {
  OExceptionHandler guard("DelayedCloseThread", OExceptionHandler::kReportEventLog);
  guard.SetReport(report_);
  RunGuarded(guard, [this] {
    Wait();
    return TRUE;
  });
}

void DelayedClose::Wait() {
  const HANDLE events[] = {cancel_.Get(), closeNow_.Get()};
  const DWORD period = target_.ClosePeriod();
  const DWORD happened = WaitForMultipleObjects(static_cast<DWORD>(std::size(events)), events, FALSE, period);
  if (happened != WAIT_OBJECT_0) target_.CloseNow();
}

}  // namespace portwise
