#include "monitor/status_publisher.h"

#include "logging/log_events.h"
#include "monitor/spooler_queries.h"
#include "monitor/status_updates.h"

namespace portwise {
namespace {

constexpr DWORD kNone = 0;

/// The event of the job logs that a status is, coming after another.
DWORD EventOf(const PrinterStatus& status, const PrinterStatus& before) {
  if (status.IsReady() && !before.IsReady() && !before.IsBusy()) return kReadyAgainEvent;
  if (status.IsWaiting()) return kWaitingEvent;
  const Severity severity = status.Severity();
  return severity == Severity::Warning ? kWarningEvent : severity == Severity::Error ? kErrorEvent : kNone;
}

}  // namespace

void StatusPublisher::Publish(const PrinterStatus& published) {
  // The caller's record may change meanwhile; everybody is told of one status.
  const PrinterStatus status(published);
  const StatusSubject subject = port_.Subject();
  const OScopedLock lock(lock_);
  if (!(status == current_) || subject.job != lastJob_) {
    Announce(subject, status);
    current_ = status;
  }
  SetLastError(status.ErrorCode());
}

void StatusPublisher::Announce(const StatusSubject& subject, const PrinterStatus& status) {
  const unique_printer handle = OpenForChanges(subject.printer);
  if (!handle) return;
  if (subject.job != 0) {
    // A refused job waits in the queue of its printer, while the port may have got another one.
    const bool elsewhere = subject.jobPrinter != subject.printer;
    const unique_printer queue = elsewhere ? OpenForChanges(subject.jobPrinter) : unique_printer();
    const HANDLE opened = elsewhere ? queue.Get() : handle.Get();
    if (opened) UpdateJobStatus(opened, subject.job, status.JobFlags(), texts_.Of(status, PrinterStatus::kDashes));
  }
  lastJob_ = subject.job;
  UpdatePrinterStatus(handle.Get(), status.SpoolerFlags());
  const bool inComment = port_.SettingValues().GetAdvancedStatusComment();
  UpdateComment(handle.Get(), inComment
                                  ? texts_.Of(status, PrinterStatus::kCommas | PrinterStatus::kWithoutSpoolerFlags)
                                  : OString());
  Record(subject.job, status);
}

void StatusPublisher::Record(DWORD job, const PrinterStatus& status) {
  const DWORD event = EventOf(status, current_);
  if (event == kNone) return;
  port_.JobLog().Event(event, texts_.Of(status, PrinterStatus::kCommas));
  if ((event != kWarningEvent && event != kErrorEvent) || !port_.SettingValues().IsStatusMonitoringEnabled()) return;
  const JobRecords::Hold record(port_.Jobs(), job);
  if (!record) return;
  if (event == kWarningEvent) {
    ++record->warningCount;
  } else {
    ++record->errorCount;
    record->SetState(JobState::UserIntervention);
  }
}

}  // namespace portwise
