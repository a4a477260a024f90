#pragma once

#include <windows.h>

#include <atomic>

#include "core/ostring.h"
#include "core/synchronizer.h"

namespace portwise {

class PortContext;

/// The documents that are open at a port's connection: jobs, and what the status monitor and requests do between them.
///
/// Starts may nest; only the outermost start and the last end reach the connection. Start and end of one port run under
/// one lock, held over the whole of either; who uses the connection between jobs holds it from start to end.
class DocumentControl {
 public:
  explicit DocumentControl(PortContext& port) : port_(port) {}

  OCriticalSection& Lock() { return lock_; }

  /// Begins a document at the connection; with `job` 0 it belongs to none. False, with the connection's last error,
  /// when the connection refused. Under the lock.
  bool Begin(DWORD job, DWORD level, BYTE* info);
  /// Ends it. `job` tells that it was a job's, which decides when its connection may close. False when the port beneath
  /// says that the end has failed; a network connection tells by its unconfirmed bytes. Under the lock.
  bool End(bool job);
  /// The same for what the status thread asks the printer.
  bool BeginStatus();
  void EndStatus();
  /// The calling thread has a status document open, which print data must not get into.
  bool IsAskingPrinter() const { return statusThread_ == GetCurrentThreadId(); }

  /// A job is about to begin, and stays known, refused or not, until another one begins or its end is told everywhere.
  void NameJob(DWORD job);
  void ForgetJob() { job_ = 0; }
  /// A job runs from its start to its end, or to its refusal; jobs may nest. Under the lock.
  void JobBegins() { ++jobDepth_; }
  void JobEnds();

  /// Ends what is still open at the port monitor below, without telling anybody: the port is being closed.
  void AbandonAll();

  /// The spooler's id of the job in progress, or of the last one when it was refused or its end failed; else 0. Any
  /// thread.
  DWORD Job() const { return job_; }
  /// Any thread.
  bool IsJobRunning() const { return jobDepth_ > 0; }
  /// Of the documents that are a job's. Any thread.
  DWORD JobDepth() const { return jobDepth_; }
  DWORD Depth() const { return depth_; }

 private:
  bool BeginAtConnection(DWORD job, DWORD level, BYTE* info);
  bool MoreJobsWait(bool job) const;

  PortContext& port_;
  OCriticalSection lock_;
  OString lastPrinter_;  // of the last job; under the lock
  std::atomic<DWORD> job_{0};
  std::atomic<DWORD> jobDepth_{0};
  std::atomic<DWORD> depth_{0};
  std::atomic<DWORD> statusThread_{0};  // that has a status document open; 0 for none
};

}  // namespace portwise
