#pragma once

#include <windows.h>

#include <atomic>

#include "core/ostring.h"
#include "core/synchronizer.h"

namespace portwise {

class PortContext;

/// The documents that are open at a port's connection, and the job they belong to.
///
/// Starts may nest; only the outermost start and the last end reach the connection. Start and end of one port run under
/// one lock, held over the whole of either.
class DocumentControl {
 public:
  explicit DocumentControl(PortContext& port) : port_(port) {}

  /// Begins a document and, when the connection took it, the job's processing. False, with the connection's last
  /// error, when the connection refused.
  bool Start(DWORD job, DWORD level, BYTE* info);

  /// Ends the job's processing and then the document. With the last end the spooler is told that the job has left,
  /// unless some of it is undelivered or a connection was lost that had taken bytes of it.
  void End();

  /// Ends what is still open at the port monitor below, without telling anybody: the port is being closed.
  void AbandonAll();

  /// The spooler's id of the job in progress, or of the last one when it was refused or its end failed; else 0. Any
  /// thread.
  DWORD Job() const { return job_; }
  DWORD Depth() const { return depth_; }

 private:
  bool BeginAtConnection(DWORD job, DWORD level, BYTE* info);
  void EndAtConnection(bool delivered);
  void WarnOfLoss(ULONGLONG unconfirmed);

  PortContext& port_;
  OCriticalSection lock_;
  std::atomic<DWORD> job_{0};
  DWORD depth_ = 0;
  OString name_;
};

}  // namespace portwise
