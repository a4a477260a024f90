#include "monitor/job_monitoring.h"

#include "monitor/port_context.h"

namespace portwise {
namespace {

constexpr DWORD kReady = 1;
constexpr DWORD kMonitoringDisabled = 0x10000000;

}  // namespace

bool JobMonitoring::IsOn() const { return port_.Settings().Values().IsStatusMonitoringEnabled(); }

void JobMonitoring::SwitchOff() const {
  DriverSettings& settings = port_.Settings().OverrideForJob();
  settings.DisableStatusMonitoring();
  settings.SetVerifyJobComplete(false);
  settings.SetVerifyPageComplete(false);
}

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
  port_.Monitor().AllowPolling(true);
  const bool answered = !IsOn() || port_.Events().RequestStatus(port_.ResponseTimeout());
  // Between jobs the printer may always be asked.
  if (!keepPolling && port_.Monitor().IsMonitoringJob()) port_.Monitor().AllowPolling(false);
  return answered;
}

PrinterStatus JobMonitoring::PublishCurrent() const {
  PrinterStatus status = port_.Monitor().CurrentStatus();
  if (status.Primary() == kMonitoringDisabled) {
    SwitchOff();
    status = PrinterStatus(kReady);
  }
  port_.Publish(status);
  return status;
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
  port_.Monitor().SetStatusOffline();
  SetLastError(ERROR_IO_DEVICE);
}

}  // namespace portwise
