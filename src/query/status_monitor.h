#pragma once

#include <windows.h>

#include <atomic>
#include <optional>

#include "core/handles.h"
#include "core/synchronizer.h"
#include "core/worker_thread.h"
#include "query/job_monitor.h"
#include "query/query_engine.h"
#include "query/query_host.h"
#include "query/query_queue.h"
#include "query/request_list.h"
#include "query/status_host.h"
#include "query/status_poll.h"

namespace portwise {

/// Watches the printer of a port: one thread owns all traffic with the printer that is not print data. It asks for the
/// printer's status as the printer's settings have it, publishes what it finds, runs requests and queries, and brings a
/// lost connection back. Any thread, but for Start, Stop and the destructor, which are the port's.
class StatusMonitor final : public JobMonitor, private QueryHost {
 public:
  /// The host must outlive the monitor.
  explicit StatusMonitor(StatusHost& host);
  /// Stops the thread and waits for it.
  ~StatusMonitor() override;
  StatusMonitor(const StatusMonitor&) = delete;
  StatusMonitor& operator=(const StatusMonitor&) = delete;

  /// Starts the thread; false when the system refuses.
  bool Start();
  /// Tells the thread to end, soon, and waits until it has.
  void Stop();

  QueryQueue& Queries() { return queue_; }
  RequestList& Requests() { return requests_; }

  bool WaitStarted() override;
  void BeginJob() override;
  void EndJob() override;
  bool IsMonitoringJob() override { return jobs_ > 0; }
  void SetStartDocFailed(bool failed) override;
  void Touch() override { lastData_ = GetTickCount(); }
  void AllowPolling(bool allowed) override { pollingAllowed_ = allowed; }
  void BeginStatusRequest() override { ++statusRequests_; }
  void EndStatusRequest() override { --statusRequests_; }
  PrinterStatus CurrentStatus() override;
  void SetStatusOffline() override;
  void NoteStatusRead() override;
  void ResetQueries() override { queue_.Reset(); }
  bool QueriesAdded() override { return queue_.QueriesAdded(); }
  void ClearQueriesAdded() override { queue_.ClearQueriesAdded(); }
  /// Also false when there is no thread to run them, or it may not ask the printer.
  bool BeginQueries() override;
  bool IsQuerying() override { return queue_.IsQuerying(); }
  void AbandonQueries() override { queue_.AbandonAll(); }

 private:
  static constexpr DWORD kDemand = 10000;  ///< ms for which a client's look at the status lasts

  void ThreadProc();
  void LoadPlugin(OExceptionHandler& guard);
  void EndThread(OExceptionHandler& guard);
  void CloseConnection();

  /// The steps of a cycle. The thread's alone, as what they work on.
  void RunCycle();
  bool FollowSettings();
  bool IsPollDue();
  bool IsStatusFollowed();
  void WaitForDemand();
  void WaitForTurn();
  bool UseConnection(bool pollDue, bool forJob);
  void AskPrinter(bool pollDue);
  void TakeRefusal(bool polls);
  void TimeRefusal();
  void Exchange(bool pollDue, bool* polled);
  void RestoreConnection(bool ownChannel, bool polled);
  /// False when the printer was not asked.
  bool PollStatus();
  bool MayPoll() const { return pollingAllowed_ || statusRequests_ > 0; }
  /// Some request is due, and no job is in its midst.
  bool RequestsDue() { return !host_.IsInJobData() && requests_.AnyDue(); }
  /// Waits for events, at most until the next request falls due.
  void WaitForRequests(DWORD milliseconds);
  void TakeSilence();
  void ConcludeOffline();
  void PaceDuringJob();
  DWORD PollingInterval();
  /// Waits to be woken, or for an event of the port's, and remembers when a status was requested.
  void WaitAwake(DWORD milliseconds);
  void WaitForEvents(DWORD milliseconds);
  void Wake() { SetEvent(wake_.Get()); }

  /// Makes it known; those who wait for a status are told with TellStatusWaiters.
  void SetStatus(const PrinterStatus& status);
  void TellStatusWaiters() { SetEvent(host_.Events().StatusUpdated()); }
  void SetStatusReady();
  /// Ready, since nobody follows the status any more.
  void DropStatus();

  Connection& PrinterConnection() override { return host_.PrinterConnection(); }
  MonitorInterface& Plugin() override { return host_.Plugin(); }
  ProtocolInterface& Protocol() override { return host_.Protocol(); }
  DWORD SendTimeout() override { return host_.SettingValues().GetSendTimeout(); }
  DWORD ResponseTimeout() override { return host_.SettingValues().GetResponseTimeout(); }
  bool IsStopping() override { return !running_; }
  bool FollowsStatus() override { return mode_ != kMonitoringOff; }
  void Warn(const OString& text) override { host_.Warn(text); }

  StatusHost& host_;
  QueryQueue queue_;
  RequestList requests_;
  QueryEngine engine_;
  StatusPoll poll_;
  PrinterStatus status_;
  OCriticalSection statusLock_;  // what is determined is published before anything else is determined

  unique_handle startEvent_;  // the thread has finished starting
  unique_handle wake_;
  WorkerThread thread_;
  std::atomic<DWORD> threadId_{0};
  std::atomic<bool> running_{false};
  std::atomic<bool> started_{false};     // the thread has come to its cycles and is in them
  std::atomic<bool> wasStarted_{false};  // there is or was a thread

  std::atomic<LONG> jobs_{0};
  std::atomic<bool> pollingAllowed_{true};
  std::atomic<LONG> statusRequests_{0};  // that somebody waits for, whatever a job that starts meanwhile allows
  std::atomic<bool> bidirectional_{true};
  std::atomic<bool> startDocFailed_{false};
  std::atomic<DWORD> lastData_{0};        // tick count
  std::atomic<DWORD> lastStatusRead_{0};  // tick count; 0 for never

  LONG mode_ = kMonitoringOff;    // of the cycle before
  bool statusRequested_ = false;  // and not looked for since
  DWORD statusResponseTimeout_ = 30000;
  bool refused_ = false;                  // a connection was, the last time
  DWORD lastPoll_ = 0;                    // tick count
  DWORD attemptedAt_ = 0;                 // tick count of the last use of the connection
  std::optional<DWORD> refusedAt_;        // tick count; connections are refused since, with something to ask
  std::optional<DWORD> unansweredSince_;  // tick count of the first poll since the last answer
};

}  // namespace portwise
