#pragma once

#include <atomic>

#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "query/job_monitor.h"
#include "query/status_events.h"

namespace portwise {

/// A status monitor that finds what a test says: each request for a status takes the next of `statuses`, the last one
/// again and again; kNoAnswer lets the request time out. It keeps a journal of what it is told.
class FakeJobMonitor final : public JobMonitor {
 public:
  static constexpr DWORD kNoAnswer = 0xFFFFFFFF;

  /// Answers while it holds `lock`, as the status thread does.
  FakeJobMonitor(StatusEvents& events, OCriticalSection& lock)
      : events_(events), lock_(lock), thread_([this] { AnswerRequests(); }) {}
  ~FakeJobMonitor() override { Stop(); }

  /// Before the events go.
  void Stop() {
    if (!thread_.joinable()) return;
    stopping_ = true;
    SetEvent(events_.StatusRequest());
    thread_.join();
  }

  /// Polling that is allowed, or not, is told only with the requests that find it so.
  void Say(const std::string& word) {
    const std::lock_guard lock(mutex_);
    journal_.push_back(word);
  }
  std::vector<std::string> TakeJournal() {
    const std::lock_guard lock(mutex_);
    return std::exchange(journal_, {});
  }
  void SetStatuses(std::vector<DWORD> statuses) {
    const std::lock_guard lock(mutex_);
    statuses_ = std::move(statuses);
  }

  bool started = true;
  std::atomic<int> queryRounds = 0;  ///< how often a run of queries is found in progress
  std::atomic<bool> queriesAdded = false;

  bool WaitStarted() override { return started; }
  void BeginJob() override {
    monitoring_ = true;
    Say("begin job");
  }
  void EndJob() override {
    monitoring_ = false;
    Say("end job");
  }
  bool IsMonitoringJob() override { return monitoring_; }
  void SetStartDocFailed(bool failed) override {
    if (failed) Say("start failed");
  }
  void Touch() override {}
  void AllowPolling(bool allowed) override { polling_ = allowed; }
  bool AllowsPolling() const { return polling_; }
  void BeginStatusRequest() override {}
  void EndStatusRequest() override {}
  PrinterStatus CurrentStatus() override { return PrinterStatus(status_); }
  void SetStatusOffline() override {
    status_ = 5;
    SetLastError(ERROR_NOT_READY);  // as publishing does
    Say("offline");
  }
  void NoteStatusRead() override { Say("status read"); }
  void ResetQueries() override { queriesAdded = false; }
  bool QueriesAdded() override { return queriesAdded; }
  void ClearQueriesAdded() override { queriesAdded = false; }
  bool BeginQueries() override { return std::exchange(begun_, true) == false; }
  bool IsQuerying() override { return queryRounds.fetch_sub(1) > 0; }
  void AbandonQueries() override {}

 private:
  void AnswerRequests() {
    for (;;) {
      WaitForSingleObject(events_.StatusRequest(), INFINITE);
      if (stopping_) return;
      const OScopedLock held(lock_);
      Say(polling_ ? "request" : "request while polling is not allowed");
      {
        const std::lock_guard lock(mutex_);
        const DWORD next = statuses_.front();
        if (statuses_.size() > 1) statuses_.erase(statuses_.begin());
        if (next == kNoAnswer) continue;
        status_ = next;
      }
      SetEvent(events_.StatusUpdated());
    }
  }

  StatusEvents& events_;
  OCriticalSection& lock_;
  std::mutex mutex_;
  std::vector<std::string> journal_;
  std::vector<DWORD> statuses_{1};
  std::atomic<DWORD> status_ = 1;
  std::atomic<bool> polling_ = true, monitoring_ = false, stopping_ = false;
  bool begun_ = false;
  std::thread thread_;
};

}  // namespace portwise
