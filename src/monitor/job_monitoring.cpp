#include "monitor/job_monitoring.h"

#include "monitor/port_context.h"
#include "settings/printer_info.h"

namespace portwise {
namespace {

/// A wait for a status, for a scope. A job that starts meanwhile does not take the answer away.
class StatusWait {
 public:
  explicit StatusWait(JobMonitor& monitor) : monitor_(monitor) { monitor_.BeginStatusRequest(); }
  ~StatusWait() { monitor_.EndStatusRequest(); }
  StatusWait(const StatusWait&) = delete;
  StatusWait& operator=(const StatusWait&) = delete;

 private:
  JobMonitor& monitor_;
};

}  // namespace

bool JobMonitoring::IsOn() const { return port_.Settings().Values().IsStatusMonitoringEnabled(); }

bool JobMonitoring::IsPossible() const {
  return IsOn() && PrinterInfo::IsBidirectional(port_.JobPrinter()) && port_.StatusWatch().WaitStarted() &&
         port_.Plugin().SupportsStatus(port_.PrinterConnection().GetKind());
}

bool JobMonitoring::IsDisabled() const {
  return port_.StatusWatch().CurrentStatus().Primary() == kStatusMonitoringDisabled;
}

void JobMonitoring::SwitchOff() const { port_.Settings().OverrideForJob().ApplyBidirectional(false); }

bool JobMonitoring::VerifiesPages() const {
  return port_.Settings().Values().GetVerifyPageComplete() &&
         !port_.Plugin().VetoesVerification(port_.PrinterConnection().GetKind());
}

bool JobMonitoring::VerifiesJob() const {
  return port_.Settings().Values().GetVerifyJobComplete() &&
         !port_.Plugin().VetoesVerification(port_.PrinterConnection().GetKind());
}

bool JobMonitoring::RequestStatus(bool keepPolling) const {
  const OScopedLock lock(requestLock_);
  const StatusWait wait(port_.StatusWatch());
  port_.StatusWatch().AllowPolling(true);
  bool answered = !IsOn() || port_.Events().RequestStatus(port_.ResponseTimeout());
  // A printer that still takes what it was sent cannot be asked, and has not failed.
  while (!answered && IsOn() && port_.PrinterConnection().IsEnding()) {
    answered = port_.Events().RequestStatus(port_.ResponseTimeout());
  }
  // Not before: what the thread knows without being asked may be of the printer before.
  if (IsOn() && IsDisabled()) {
    SwitchOff();
    answered = true;
  }
  if (!keepPolling) ForbidPolling();
  return answered;
}

/// Between jobs the printer may always be asked.
void JobMonitoring::ForbidPolling() const {
  const OScopedLock lock(pollingLock_);
  if (port_.StatusWatch().IsMonitoringJob()) port_.StatusWatch().AllowPolling(false);
}

void JobMonitoring::EndJob(bool active) {
  const OScopedLock lock(pollingLock_);
  if (active) port_.StatusWatch().EndJob();
  port_.StatusWatch().AllowPolling(true);
}

PrinterStatus JobMonitoring::PublishCurrent() const {
  for (;;) {
    const PrinterStatus current = port_.StatusWatch().CurrentStatus();
    const bool disabled = current.Primary() == kStatusMonitoringDisabled;
    if (disabled) SwitchOff();
    const PrinterStatus status = disabled ? PrinterStatus(kStatusReady) : current;
    port_.Publish(status);
    // What was found and told meanwhile must not end with the status of before.
    if (port_.StatusWatch().CurrentStatus() == current) return status;
  }
}

bool JobMonitoring::IsPageComplete(bool* failed) const {
  *failed = !RequestStatus();
  if (*failed) {
    ReportWriteFailure();
    return false;
  }
  return PublishCurrent().IsReady();
}

void JobMonitoring::ReportWriteFailure() const {
  port_.StatusWatch().SetStatusOffline();
  SetLastError(ERROR_IO_DEVICE);
}

}  // namespace portwise
