#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ui/printer_requests.h"

namespace portwise {

/// A monitor that gives the replies of a table and keeps what it was asked. The windows' own while it lives. Any
/// thread.
class FakeRequests final : public PrinterRequests {
 public:
  /// By a part of the request; the first that fits. Nothing is no answer, as for what is not in the table.
  using Replies = std::vector<std::pair<std::string, std::optional<std::string>>>;

  FakeRequests() { SetPrinterRequests(this); }
  ~FakeRequests() override { SetPrinterRequests(nullptr); }

  void SetReplies(Replies replies) {
    const std::lock_guard lock(mutex_);
    replies_ = std::move(replies);
  }
  /// Called in the middle of each request, on its thread.
  void SetWhileAsked(std::function<void()> call) {
    const std::lock_guard lock(mutex_);
    whileAsked_ = std::move(call);
  }
  /// What was asked since the last call, with the printer in front.
  std::vector<std::string> TakeAsked() {
    const std::lock_guard lock(mutex_);
    return std::exchange(asked_, {});
  }

  std::optional<std::string> Ask(const OString& printer, const std::string& request) override {
    std::unique_lock lock(mutex_);
    asked_.push_back(OString(printer).Narrow() + std::string(": ") + request);
    if (const auto call = whileAsked_) {
      lock.unlock();
      call();
      lock.lock();
    }
    for (const auto& [part, reply] : replies_) {
      if (request.find(part) != std::string::npos) return reply;
    }
    return std::nullopt;
  }

 private:
  std::mutex mutex_;
  Replies replies_;
  std::vector<std::string> asked_;
  std::function<void()> whileAsked_;
};

}  // namespace portwise
