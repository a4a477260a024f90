#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

#include "host/monitor_library.h"

namespace portwise {

/// What a port's monitor made of a question for printer data.
struct MonitorAnswer {
  bool asked = false;  ///< false when the port is not open
  bool given = false;
  std::string data;   ///< when it is given
  DWORD needed = 0;   ///< when it is not: the size of an answer that had no room; 0 when there is none
  std::string fault;  ///< why the port could not be opened
};

/// The port of a queue. The queue's thread opens and closes it; any other may ask its monitor questions meanwhile, and
/// the port stays open until they are answered.
class OpenPort {
 public:
  /// The queue's thread: the port, null when it is not open.
  MonitorPort* Get() const { return port_.get(); }
  /// The queue's thread, which just tried to open the port; null with the reason when that failed.
  void Set(std::unique_ptr<MonitorPort> port, const std::string& fault);
  /// The queue's thread: closes the port, once nobody asks it any more.
  void Close();
  /// The same for good: who asks later, or waits for the port to open, has no answer.
  void End();

  /// Any thread, the queue's too. With `wait`, a port that is about to be opened is waited for, some seconds at most.
  MonitorAnswer Ask(const std::string& value, DWORD size, bool wait);

 private:
  class Question;

  std::mutex mutex_;  ///< not held while the monitor runs
  std::condition_variable changed_;
  std::unique_ptr<MonitorPort> port_;
  std::string fault_;
  int questions_ = 0;
  bool closing_ = false;
  bool tried_ = false;
  bool ended_ = false;
};

}  // namespace portwise
