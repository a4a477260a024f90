#pragma once

#include <windows.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "host/windows/monitor_library.h"

namespace portwise {

/// An open port and the jobs that wait for it, which a thread of its own drives through the monitor one after another.
/// What becomes of each is said as it happens. Destroying it cancels the jobs that are left and closes the port.
class PortQueue {
 public:
  PortQueue(const MONITOR2& functions, HANDLE port);
  ~PortQueue();
  PortQueue(const PortQueue&) = delete;
  PortQueue& operator=(const PortQueue&) = delete;

  MonitorPort& Port() { return port_; }
  /// The job's number.
  DWORD Print(const OString& printer, const OString& document, std::vector<BYTE> data);
  /// Ends it where it is; false when there is no such job.
  bool Cancel(DWORD number);
  bool IsIdle();

 private:
  struct Job {
    OString printer;
    OString document;
    std::vector<BYTE> data;
    DWORD number = 0;
    std::atomic<bool> cancelled = false;
    std::string said;  // of what it waits for, the last that was said
  };

  void Run();
  void RunJob(Job& job);
  bool Start(Job& job);
  size_t Send(Job& job);
  /// Says what the job waits for, once, and waits.
  void Pause(Job& job, const std::string& reason, DWORD milliseconds);

  MonitorPort port_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::shared_ptr<Job>> jobs_;  // the first one is being printed
  bool ending_ = false;
  std::thread thread_;
};

}  // namespace portwise
