#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "host/port_queue.h"
#include "host/printers.h"

namespace portwise {

/// The queues of all ports that have printers. Any thread.
class PortQueues {
 public:
  PortQueues(MonitorLibrary& monitor, JobStore& store) : monitor_(monitor), store_(store) {}

  /// Starts the queue of every port that a printer uses, and wakes them all. Jobs whose printer is gone are held.
  void Dispatch();
  /// Starts the printer's port's queue when need be, and wakes it.
  void Wake(const std::string& printer);
  /// What the monitor of the printer's port answers for a value of the printer's data.
  MonitorAnswer AskMonitor(const Printer& printer, const std::string& value, DWORD size, bool wait);
  /// Has a port that is open closed and opened anew before its next job.
  void Reopen(const std::string& port);
  /// Ends the queue of a port that no printer uses any more, and waits until the port is closed.
  void CloseUnused(const std::string& port);
  /// Has all queues stop at their jobs' next buffer; none starts after that. Does not wait.
  void BeginStop();
  /// Ends all queues; none starts after that. False when some are still in the monitor at `limit`: they go on, and
  /// nothing that they use may be destroyed.
  bool Stop(std::chrono::steady_clock::time_point limit);

 private:
  void WakePort(const std::string& port);
  void HoldOrphans();

  MonitorLibrary& monitor_;
  JobStore& store_;
  std::mutex mutex_;  ///< never held while a queue ends, since the monitor may call the spooler meanwhile
  std::map<std::u16string, std::shared_ptr<PortQueue>> queues_;  ///< shared with those who ask the monitor
  bool stopped_ = false;
};

}  // namespace portwise
