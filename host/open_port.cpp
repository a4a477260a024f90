#include "host/open_port.h"

#include <algorithm>
#include <chrono>

#include "platform/spooler/frame.h"

namespace portwise {

namespace {

constexpr std::chrono::seconds kOpenTime{5};

}  // namespace

class OpenPort::Question {
 public:
  /// Under the mutex, which whoever destroys it must not hold.
  explicit Question(OpenPort& port) : port_(port) { ++port_.questions_; }
  ~Question() {
    const std::lock_guard lock(port_.mutex_);
    --port_.questions_;
    port_.changed_.notify_all();
  }
  Question(const Question&) = delete;
  Question& operator=(const Question&) = delete;

 private:
  OpenPort& port_;
};

void OpenPort::Set(std::unique_ptr<MonitorPort> port, const std::string& fault) {
  const std::lock_guard lock(mutex_);
  port_ = std::move(port);
  fault_ = fault;
  tried_ = true;
  changed_.notify_all();
}

void OpenPort::Close() {
  std::unique_ptr<MonitorPort> port;
  {
    std::unique_lock lock(mutex_);
    closing_ = true;
    changed_.wait(lock, [this] { return questions_ == 0; });
    closing_ = tried_ = false;
    port = std::move(port_);
  }
}

void OpenPort::End() {
  Close();
  const std::lock_guard lock(mutex_);
  ended_ = true;
  changed_.notify_all();
}

MonitorAnswer OpenPort::Ask(const std::string& value, DWORD size, bool wait) {
  MonitorAnswer answer;
  std::unique_lock lock(mutex_);
  if (wait) changed_.wait_for(lock, kOpenTime, [this] { return (tried_ && !closing_) || ended_; });
  if (!port_ || closing_) {
    answer.fault = fault_;
    return answer;
  }
  const Question question(*this);
  lock.unlock();
  answer.asked = true;
  // What does not fit into a message cannot be answered, whatever the client has room for.
  std::string data(std::min<std::size_t>(size, platform::kMaximumBody), '\0');
  DWORD needed = 0;
  answer.given = port_->GetData(value, data.data(), static_cast<DWORD>(data.size()), &needed);
  if (answer.given) {
    data.resize(needed);
    answer.data = std::move(data);
  } else if (needed > data.size()) {
    answer.needed = needed;
  }
  return answer;
}

}  // namespace portwise
