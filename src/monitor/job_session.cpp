#include "monitor/job_session.h"

#include <winspool.h>

#include <algorithm>
#include <exception>
#include <memory>

#include "connection/connection_use.h"
#include "logging/log_events.h"
#include "monitor/port_context.h"
#include "monitor/spooler_queries.h"

namespace portwise {
namespace {

/// A job runs from the moment at which its connection is begun, which is for the job's printer whatever a request makes
/// the port's. One that fails to start leaves running only what did before.
class JobStart {
 public:
  explicit JobStart(DocumentControl& documents) : documents_(documents) { documents_.JobBegins(); }
  ~JobStart() {
    if (!started_) documents_.JobEnds();
  }
  JobStart(const JobStart&) = delete;
  JobStart& operator=(const JobStart&) = delete;

  bool Done(bool started) { return started_ = started; }

 private:
  DocumentControl& documents_;
  bool started_ = false;
};

}  // namespace

bool JobSession::Start(const OString& printer, DWORD job, DWORD level, BYTE* info) {
  const OScopedLock lock(port_.Documents().Lock());
  port_.NameJob(printer, job);
  JobStart start(port_.Documents());
  const bool begun = port_.Documents().Begin(job, level, info);
  port_.StatusWatch().SetStartDocFailed(!begun);
  if (!begun || !info) return start.Done(begun);
  // The spooler does not end a job whose start failed.
  try {
    Begin(reinterpret_cast<const DOC_INFO_1W*>(info)->pDocName);
  } catch (...) {
    StopMonitoring();
    if (port_.Documents().Depth() <= 1) {
      StopRecording();
      port_.Settings().ReleaseJob();
    }
    port_.Documents().End(true);
    throw;
  }
  return start.Done(true);
}

void JobSession::Begin(const OString& document) {
  StopMonitoring();
  port_.Plugins().EnsureProtocolLoaded(port_.JobPrinter(), port_.PortName(), port_.PrinterConnection());
  port_.Settings().RefreshForJob(port_.JobPrinter());
  if (port_.Monitoring().IsOn() && !port_.Monitoring().IsPossible()) port_.Monitoring().SwitchOff();
  port_.Diagnostics().Reload();
  BeginRecords(document);
  port_.Path().BeginJob();
  port_.Printed().BeginJob();
  port_.StatusWatch().ResetQueries();
  BeginMonitoring();
  if (port_.Protocol().IsActive()) port_.Protocol().Notify(ProtocolEvent::JobStart);
}

void JobSession::BeginRecords(const OString& document) {
  const DWORD job = port_.JobId();
  OString recording;
  {
    const ConnectionUse use(port_.PrinterConnection());
    port_.Recorder().Start(document, port_.Settings().Values());
    recording = port_.Recorder().FilePath();
  }
  port_.JobLog().JobStart(port_.JobPrinter(), port_.PortName(), job, recording);
  port_.JobLog().Event(kJobStart.id, kJobStart.text);
  port_.Pages().BeginJob();
  if (!port_.Monitoring().IsOn()) return;
  auto record = std::make_unique<StatusRecord_Job>();
  if (!record->FillFromSpooler(job, port_.JobPrinter())) return;
  port_.Jobs().Remove(job);
  port_.Jobs().Add(std::move(record));
}

/// A port that returns nothing cannot be monitored. Until the job's first byte the printer may not be asked anything,
/// unless the job itself waits for the answer.
void JobSession::BeginMonitoring() {
  if (!port_.Monitoring().IsOn()) return;
  port_.Path().AwaitFirstWrite();
  if (port_.PrinterConnection().GetStatus(STATUS_UNIDIRECTIONAL) != 0) {
    port_.Settings().OverrideForJob().DisableStatusMonitoring();
    return;
  }
  port_.StatusWatch().BeginJob();
  port_.StatusWatch().AllowPolling(false);
  monitoringActive_ = true;
}

/// The connection is ended before anybody is told of the job's fate: its end tells whether the printer has everything.
/// Each step is made whatever became of those before it.
void JobSession::End() {
  std::exception_ptr failure;
  const auto attempt = [&](auto&& step) {
    try {
      step();
    } catch (...) {
      if (!failure) failure = std::current_exception();
    }
  };
  bool delivered = false;
  ULONGLONG unconfirmed = 0;
  port_.StatusWatch().AbandonQueries();
  // The last bytes may wait for a status, and that for the documents' lock.
  attempt([&] { delivered = port_.Path().EndJob(); });
  const OScopedLock lock(port_.Documents().Lock());
  const bool last = port_.Documents().Depth() <= 1;
  attempt([&] { TellPluginsOfEnd(); });
  StopMonitoring();
  bool ended = false;
  attempt([&] { ended = port_.Documents().End(true); });
  attempt([&] {
    const ULONGLONG doubtful = port_.Printed().Doubtful();
    if (last) unconfirmed = std::max(port_.PrinterConnection().TakeUnconfirmedBytes(), doubtful);
  });
  bool deleted = false;
  attempt([&] { deleted = port_.JobIsDeleted(); });
  const bool whole = delivered && ended && unconfirmed == 0 && !failure && port_.Path().IsWhole();
  attempt([&] { Record(Judge(whole && !deleted && port_.Path().IsConfirmed())); });
  if (last) port_.Settings().ReleaseJob();
  // A failure is reported by itself.
  const bool leaves = delivered && ended;
  if (last && (leaves || deleted || unconfirmed > 0 || !failure)) {
    attempt([&] { Leave(leaves, unconfirmed, deleted); });
  }
  if (last) {
    port_.Pages().EndJob();
  }
  port_.Documents().JobEnds();
  if (failure) std::rethrow_exception(failure);
  if (last) port_.Documents().ForgetJob();
}

void JobSession::TellPluginsOfEnd() {
  if (port_.Protocol().IsActive()) port_.Protocol().Notify(ProtocolEvent::JobEnd);
  if (!port_.Monitoring().IsOn() || !port_.StatusWatch().IsMonitoringJob()) return;
  port_.Plugin().Notify(PluginEvent::JobEnd);
  if (JobsQueued(port_.JobPrinter()) < 2) port_.Plugin().Notify(PluginEvent::LastJobEnd);
}

void JobSession::StopMonitoring() {
  port_.Monitoring().EndJob(monitoringActive_);
  monitoringActive_ = false;
}

void JobSession::StopRecording() {
  const ConnectionUse use(port_.PrinterConnection());
  port_.Recorder().Stop();
}

void JobSession::Record(JobState state) {
  StopRecording();
  port_.JobLog().SetStatus(JobStateName(state));
  port_.JobLog().JobEnd();
  port_.JobLog().Event(kJobEnd.id, kJobEnd.text);
}

JobState JobSession::Judge(bool confirmed) {
  JobMonitoring& monitoring = port_.Monitoring();
  const bool monitored = monitoring.IsOn();
  // The plug-in is asked, and must not find the records held.
  const bool verified = monitored && (monitoring.VerifiesJob() || monitoring.VerifiesPages());
  JobRecords::Hold record(port_.Jobs(), port_.JobId());
  if (!monitored) {
    const JobState unasked = confirmed ? JobState::Completed : JobState::Unknown;
    // There is a record when monitoring went off in the middle of the job.
    if (record) record->SetState(unasked);
    return unasked;
  }
  if (!record) return JobState::Unknown;
  const JobState state = !confirmed ? JobState::Failed : verified ? JobState::Verified : JobState::Completed;
  if (state == JobState::Verified) record->MarkVerified();
  record->SetState(state);
  return state;
}

void JobSession::Leave(bool delivered, ULONGLONG unconfirmed, bool deleted) {
  if (unconfirmed > 0 && !deleted) {
    WarnOfLoss(unconfirmed);
  } else if (delivered || deleted) {
    ControlJob(port_.JobPrinter(), port_.JobId(),
               port_.PrinterConnection().IsTcp() ? JOB_CONTROL_DELETE : JOB_CONTROL_SENT_TO_PRINTER);
  } else {
    port_.Warn("The end of job " + OString::FromUnsigned(port_.JobId()) + " could not be delivered to the printer.");
  }
}

void JobSession::WarnOfLoss(ULONGLONG unconfirmed) {
  port_.Warn("The connection to the printer was lost, or left without an answer, while job " +
             OString::FromUnsigned(port_.JobId()) + " was printed. It is not known whether the printer has " +
             OString::FromUnsigned(unconfirmed) + " of its " + OString::FromUnsigned(port_.Printed().Sent()) +
             " bytes.");
}

}  // namespace portwise
