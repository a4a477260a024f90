#include "query/status_monitor.h"

#include <algorithm>
#include <memory>

namespace portwise {
namespace {

constexpr DWORD kStartWait = 60000;  // ms, as are all below
constexpr DWORD kLoadPause = 100;
constexpr DWORD kLoadPatience = 30000;  // while the printer cannot be opened
constexpr DWORD kFailurePause = 1000;
constexpr DWORD kShortestInterval = 100;  // whatever the settings say

}  // namespace

StatusMonitor::StatusMonitor(StatusHost& host)
    : host_(host),
      engine_(*this, requests_, queue_),
      poll_(host, *this),
      status_(kStatusReady),
      startEvent_(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      wake_(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}

StatusMonitor::~StatusMonitor() { Stop(); }

bool StatusMonitor::Start() {
  if (!startEvent_ || !wake_) return false;
  running_ = true;
  wasStarted_ = thread_.Start([](void* self) { static_cast<StatusMonitor*>(self)->ThreadProc(); }, this);
  if (!wasStarted_) running_ = false;
  return wasStarted_;
}

void StatusMonitor::Stop() {
  running_ = false;
  Wake();
  thread_.Join();
}

bool StatusMonitor::WaitStarted() {
  // A plug-in may ask from inside its own loading.
  if (threadId_ == GetCurrentThreadId()) return started_;
  return wasStarted_ && WaitForSingleObject(startEvent_.Get(), kStartWait) == WAIT_OBJECT_0 && started_;
}

void StatusMonitor::BeginJob() {
  ++jobs_;
  Wake();
}

void StatusMonitor::EndJob() {
  LONG jobs = jobs_;
  while (jobs > 0 && !jobs_.compare_exchange_weak(jobs, jobs - 1)) {
  }
}

void StatusMonitor::SetStartDocFailed(bool failed) {
  startDocFailed_ = failed;
  if (failed) Wake();
}

bool StatusMonitor::BeginQueries() {
  if (started_ && bidirectional_) return queue_.BeginQueries();
  queue_.AbandonAll();
  return false;
}

PrinterStatus StatusMonitor::CurrentStatus() {
  return bidirectional_ ? status_ : PrinterStatus(kStatusMonitoringDisabled);
}

void StatusMonitor::NoteStatusRead() {
  const DWORD now = GetTickCount();
  const DWORD before = lastStatusRead_.exchange(now != 0 ? now : 1);
  if (before == 0 || now - before > kDemand) Wake();
}

void StatusMonitor::SetStatus(const PrinterStatus& status) {
  const OScopedLock lock(statusLock_);
  status_ = status;
  host_.Publish(status);
}

void StatusMonitor::SetStatusReady() {
  SetStatus(PrinterStatus(kStatusReady));
  TellStatusWaiters();
}

/// Who waits for the printer's own word is not answered with this one as long as the printer may still give it.
void StatusMonitor::DropStatus() {
  const OScopedLock document(host_.DocumentLock());
  SetStatus(PrinterStatus(kStatusReady));
  const bool awaited = IsMonitoringJob() || statusRequests_ > 0;
  if (!awaited || mode_ == kMonitoringOff || !bidirectional_) TellStatusWaiters();
}

/// Without bidirectional support nobody would find the printer ready again.
void StatusMonitor::SetStatusOffline() {
  const OScopedLock lock(statusLock_);
  if (!bidirectional_) return;
  SetStatus(PrinterStatus(kStatusOffline));
  TellStatusWaiters();
}

DWORD StatusMonitor::PollingInterval() {
  DriverSettings& settings = host_.SettingValues();
  const DWORD interval = IsMonitoringJob() ? settings.GetActivePollingInterval() : settings.GetIdlePollingInterval();
  return std::max(interval, kShortestInterval);
}

void StatusMonitor::ThreadProc() {
  const auto guard = host_.MakeGuard("StatusMonitor::ThreadProc");
  threadId_ = GetCurrentThreadId();
  LoadPlugin(*guard);
  SetEvent(startEvent_.Get());
  while (running_) {
    const BOOL sound = RunGuarded(*guard, [this] {
      RunCycle();
      return TRUE;
    });
    // What failed may fail again at once.
    if (!sound && running_) WaitAwake(kFailurePause);
  }
  started_ = false;
  EndThread(*guard);
}

void StatusMonitor::LoadPlugin(OExceptionHandler& guard) {
  const DWORD begin = GetTickCount();
  while (running_) {
    // A plug-in that fails may do better the next time, as a printer that cannot be opened.
    if (RunGuarded(guard, [this] { return host_.LoadPlugin() ? TRUE : FALSE; })) {
      started_ = host_.PrinterConnection().GetKind() != ConnectionKind::Generic;
      break;
    }
    if (GetTickCount() - begin >= kLoadPatience) break;
    WaitAwake(kLoadPause);
  }
  if (!started_) running_ = false;
}

/// Each step is made whatever became of those before it.
void StatusMonitor::EndThread(OExceptionHandler& guard) {
  const auto attempt = [&](auto step) {
    RunGuarded(guard, [&] {
      step();
      return TRUE;
    });
  };
  attempt([this] { queue_.Abandon(); });
  attempt([this] {
    if (!status_.IsReady()) SetStatusReady();
  });
  attempt([this] { CloseConnection(); });
  attempt([this] { host_.UnloadPlugin(); });
}

/// Not under a job that has begun meanwhile, which closes the connection itself.
void StatusMonitor::CloseConnection() {
  const OScopedLock document(host_.DocumentLock());
  if (host_.PrinterConnection().IsTcp() && !host_.HasDocument()) host_.PrinterConnection().Close();
}

}  // namespace portwise
