#pragma once

#include <vector>

#include "host/job_store.h"
#include "host/monitor_library.h"
#include "host/wake_up.h"

namespace portwise {

/// One job on its way through the monitor: the document is started, the data written and the document ended. On the
/// port's thread, without a lock.
class JobRun {
 public:
  /// `job` was claimed from `store`; Run ends the claim.
  JobRun(MonitorPort& port, JobStore& store, WakeUp& wakeUp, Job job)
      : port_(port), store_(store), wakeUp_(wakeUp), job_(std::move(job)) {}

  /// False when the job could not be begun and waits for another try; otherwise it has left the queue or is held, or
  /// the spooler is stopping.
  bool Run();

 private:
  enum class Ending { Delivered, Cancelled, Stopped, Undelivered, Unreadable, NotRecorded };

  Ending SendData();
  Ending SendBuffers(const platform::UniqueFd& progress);
  bool ReadBuffer(DWORD* size);
  bool RecordBegin(platform::UniqueFd* progress);
  /// Passes over one buffer and pauses as the answer asks for. False when the monitor wants to be called again.
  bool WriteOnce(DWORD size, const platform::UniqueFd& progress);
  /// Waits while the job is paused. False, with the ending, when it must not go on.
  bool MayGoOn(Ending* ending);
  bool Finish(Ending ending);
  void Hold(const std::string& reason);

  MonitorPort& port_;
  JobStore& store_;
  WakeUp& wakeUp_;
  Job job_;
  platform::UniqueFd data_;
  std::vector<BYTE> buffer_;
  std::string fault_;
  std::string refusal_;  // why the monitor refuses the data; empty while it takes it
};

}  // namespace portwise
