#pragma once

#include <windows.h>

#include "core/ostring.h"
#include "monitor/job_record.h"

namespace portwise {

class PortContext;

/// The begin and the end of a job on a port: what is set up for it, and who is told what became of it. Runs
/// under the documents' lock.
class JobSession {
 public:
  explicit JobSession(PortContext& port) : port_(port) {}

  /// Begins the document at the connection and, when that worked, the job. False, with the connection's last error,
  /// when the connection refused.
  bool Start(const OString& printer, DWORD job, DWORD level, BYTE* info);

  /// Ends the job and then its document, and tells the spooler that the job has left: unless some of it is
  /// undelivered, a connection was lost that had taken bytes of it, or the printer was when it had not printed them.
  /// Such a job stays in the queue, where people see it: to print it again may double labels, to forget it may lose
  /// some.
  void End();

 private:
  void Begin(const OString& document);
  void BeginRecords(const OString& document);
  void BeginMonitoring();
  void TellPluginsOfEnd();
  void StopMonitoring();
  void StopRecording();
  void Record(JobState state);
  JobState Judge(bool confirmed);
  void Leave(bool delivered, ULONGLONG unconfirmed, bool deleted);
  void WarnOfLoss(ULONGLONG unconfirmed);

  PortContext& port_;
  bool monitoringActive_ = false;  // the status monitor was told of the job
};

}  // namespace portwise
