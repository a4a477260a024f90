#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "host/job_store.h"
#include "host/monitor_library.h"
#include "host/open_port.h"
#include "host/wake_up.h"

namespace portwise {

/// The queue of one port, on a thread of its own: opens the port and runs the jobs of the port's printers one by one,
/// in the order of their ids. What fails is tried again after a pause that grows from 1 to 10 seconds, or at the next
/// order. Any thread may call; nothing waits but the destructor, WaitStopped and AskMonitor.
class PortQueue {
 public:
  /// Everything given must outlive the queue.
  PortQueue(std::string port, MonitorLibrary& monitor, JobStore& store);
  /// Stops, and waits for the job in progress to stop at its next buffer and for the port to close.
  ~PortQueue();

  void Wake() { wakeUp_.Wake(); }
  /// Has the port closed and opened anew before the next job: it is reached in another way from now on.
  void Reopen() {
    reopen_ = true;
    Wake();
  }
  void Stop() { wakeUp_.Stop(); }
  /// What the port's monitor answers for a value of the printer's data.
  MonitorAnswer AskMonitor(const std::string& value, DWORD size, bool wait) { return port_.Ask(value, size, wait); }
  /// Waits until the thread has ended, after a Stop.
  void WaitStopped();
  /// True when the thread has ended by `limit`, in real time.
  bool WaitStopped(std::chrono::steady_clock::time_point limit);

 private:
  void Run();
  /// Brings the queue one step on. The pause before the next one in milliseconds, 0 for none.
  DWORD Step(DWORD lastPause);

  std::string name_;
  MonitorLibrary& monitor_;
  JobStore& store_;
  WakeUp wakeUp_;
  OpenPort port_;
  std::mutex mutex_;
  std::condition_variable endedSignal_;
  bool ended_ = false;
  std::atomic<bool> reopen_ = false;
  std::thread thread_;
};

}  // namespace portwise
