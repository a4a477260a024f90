#pragma once

#include <windows.h>

#include "query/printer_status.h"

namespace portwise {

/// What the road of the print data asks of the port's status monitor, and tells it. Any thread.
class JobMonitor {
 public:
  virtual ~JobMonitor() = default;

  /// Waits until the monitor's thread has finished starting, at most 60000 ms; false when it has not, or when there is
  /// no thread.
  virtual bool WaitStarted() = 0;

  /// A monitored job began, and ended.
  virtual void BeginJob() = 0;
  virtual void EndJob() = 0;
  /// A job was begun and not yet ended.
  virtual bool IsMonitoringJob() = 0;
  /// Whether the last start of a document at the connection failed.
  virtual void SetStartDocFailed(bool failed) = 0;
  /// Print data reached the printer just now.
  virtual void Touch() = 0;

  /// The printer may be asked for its status; not while a job's data is on its way, unless the job waits for it.
  virtual void AllowPolling(bool allowed) = 0;
  /// Somebody begins to wait for a status, and has ended: meanwhile the printer may be asked whatever is allowed.
  virtual void BeginStatusRequest() = 0;
  virtual void EndStatusRequest() = 0;
  /// The status determined last, or what stands for it while monitoring is off.
  virtual PrinterStatus CurrentStatus() = 0;
  /// The printer does not answer any more: the status becomes offline, and is published, while it is followed.
  virtual void SetStatusOffline() = 0;
  /// A client has read the status.
  virtual void NoteStatusRead() = 0;

  /// Empties the query queue with its counters.
  virtual void ResetQueries() = 0;
  /// Queries were added since the last reset or ClearQueriesAdded.
  virtual bool QueriesAdded() = 0;
  virtual void ClearQueriesAdded() = 0;
  /// Begins a run of the query queue; false when one is in progress or was already made, and when there is nobody to
  /// run it.
  virtual bool BeginQueries() = 0;
  virtual bool IsQuerying() = 0;
  /// Ends a run that is in progress or to be begun: nobody waits for it any more.
  virtual void AbandonQueries() = 0;
};

}  // namespace portwise
