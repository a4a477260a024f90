#pragma once

#include <atomic>
#include <charconv>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/fake_printer.h"

namespace portwise {

/// A line printer daemon on loopback that takes one job a connection (RFC 1179), strictly: what is not as the protocol
/// says ends the connection. It goes wrong at will, one connection after the other, and then serves properly.
class LineDaemon {
 public:
  enum class Fault { None, RefuseQueue, RefuseControl, RefuseData, CloseInData, StallInData, RefuseAtEnd, CloseAtEnd };

  struct Job {
    std::string queue;
    std::string control;
    std::string data;
    bool whole = false;  ///< the daemon said that it has the job
    bool operator==(const Job&) const = default;
  };

  explicit LineDaemon(std::vector<Fault> faults = {}) : faults_(std::move(faults)), thread_([this] { Serve(); }) {}
  ~LineDaemon() {
    stop_ = true;
    thread_.join();
  }
  LineDaemon(const LineDaemon&) = delete;
  LineDaemon& operator=(const LineDaemon&) = delete;

  unsigned Port() const { return printer_.Port(); }

  /// Every job of which a control file came, in their order.
  std::vector<Job> Jobs() const {
    const std::lock_guard lock(mutex_);
    return jobs_;
  }

 private:
  void Serve() {
    for (std::size_t connection = 0; !stop_;) {
      if (!printer_.Accept(20)) continue;
      Job job;
      const Fault fault = connection < faults_.size() ? faults_[connection] : Fault::None;
      ++connection;
      job.whole = Receive(fault, &job);
      if (!job.control.empty()) {
        const std::lock_guard lock(mutex_);
        jobs_.push_back(job);
      }
      printer_.Close();
    }
  }

  bool Receive(Fault fault, Job* job) {
    std::string line, name;
    long long size = 0;
    if (!ReadLine(2, &job->queue) || !Answer(fault == Fault::RefuseQueue)) return false;
    if (!ReadLine(2, &line) || !Split(line, "cfA", &size, &name) || !Answer(fault == Fault::RefuseControl))
      return false;
    const std::string control = printer_.Receive(static_cast<std::size_t>(size));
    if (printer_.Receive(1) != std::string(1, '\0') || !Answer(false)) return false;
    job->control = control;
    if (!ReadLine(3, &line) || !Split(line, "dfA", &size, &name) || !Answer(fault == Fault::RefuseData)) return false;
    if (control.find("\nl" + name + "\n") == control.npos) return false;
    if (fault == Fault::CloseInData || fault == Fault::StallInData) {
      job->data = printer_.Receive(1000);
      while (fault == Fault::StallInData && !stop_) std::this_thread::sleep_for(std::chrono::milliseconds(5));
      printer_.Reset();
      return false;
    }
    bool ended = true;
    job->data = printer_.Receive(size == 0 ? std::size_t{1} << 30 : static_cast<std::size_t>(size), &ended);
    if (size == 0 ? !ended : printer_.Receive(1) != std::string(1, '\0')) return false;
    return fault != Fault::CloseAtEnd && Answer(fault == Fault::RefuseAtEnd);
  }

  bool Answer(bool refuse) {
    printer_.Send(std::string(1, refuse ? '\1' : '\0'));
    return !refuse;
  }

  bool ReadLine(char command, std::string* line) {
    if (printer_.Receive(1) != std::string(1, command)) return false;
    line->clear();
    while (line->size() < 300) {
      const std::string byte = printer_.Receive(1);
      if (byte == "\n") return true;
      if (byte.empty()) return false;
      *line += byte;
    }
    return false;
  }

  static bool Split(const std::string& line, const std::string& prefix, long long* size, std::string* name) {
    const auto result = std::from_chars(line.data(), line.data() + line.size(), *size);
    if (result.ec != std::errc() || *result.ptr != ' ') return false;
    *name = result.ptr + 1;
    return name->starts_with(prefix) && name->size() > 6 && name->find_first_not_of("0123456789", 3) >= 6;
  }

  const std::vector<Fault> faults_;
  FakePrinter printer_{8192};
  std::atomic<bool> stop_ = false;
  mutable std::mutex mutex_;
  std::vector<Job> jobs_;
  std::thread thread_;
};

}  // namespace portwise
