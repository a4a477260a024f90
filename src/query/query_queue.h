#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/ostring.h"
#include "core/synchronizer.h"

namespace portwise {

/// One query of the queue. Texts are bytes as a client wrote them.
struct QueryProperties {
  std::string command;
  std::string name;
  std::string response;  ///< once the query is complete
};

/// How far a run of the queue is, seen at one moment.
struct QueryProgress {
  static constexpr LONG kRunning = -1;  ///< also before a run
  static constexpr LONG kEnded = 2;
  static constexpr LONG kCancelled = 3;

  LONG total = 0;
  LONG current = 0;  ///< index of the query being run
  LONG complete = 0;
  LONG runStatus = kRunning;
  DWORD bytesRead = 0;  ///< this and the next stop at their greatest value
  DWORD bytesWritten = 0;
  OString displayStatus;
};

/// Queries that are run together, one after the other, once: begun by the road of the print data, run by the status
/// thread, followed by clients. Any thread; every call is one step under the queue's lock.
class QueryQueue {
 public:
  /// A query as the one that runs it sees it. `run` tells its run from all others.
  struct Step {
    DWORD run;
    std::string command;
  };

  QueryQueue() = default;
  QueryQueue(const QueryQueue&) = delete;
  QueryQueue& operator=(const QueryQueue&) = delete;

  void Add(std::string_view command, std::string_view name);
  /// The run stops before its next read or query.
  void Cancel();
  /// Empties the queue with its counters; a run in progress ends, and what it still brings is dropped.
  void Reset();

  /// Queries were added since the last reset or ClearQueriesAdded.
  bool QueriesAdded() const;
  void ClearQueriesAdded();

  QueryProgress Progress() const;
  /// The name of the query at `index`, the response of that query or of the first one with that name; nothing when
  /// there is none.
  std::optional<std::string> NameAt(LONG index) const;
  std::optional<std::string> ResponseAt(LONG index) const;
  std::optional<std::string> ResponseOf(std::string_view name) const;

  /// Begins a run with the first query. False when there is none, a run is in progress, or one has ended or completed
  /// a query.
  bool BeginQueries();
  /// A run is in progress.
  bool IsQuerying() const;

  /// The query to be run now; nothing, and no run is in progress, when the run was cancelled.
  std::optional<Step> CurrentStep();
  /// The functions below do nothing once their run is over.
  bool IsOver(DWORD run) const;
  void SetDisplayStatus(DWORD run, const OString& text);
  void CountWritten(DWORD run, size_t bytes);
  void CountRead(DWORD run, size_t bytes);
  /// The current query is answered; the next one is current, or the run ends.
  void Complete(DWORD run, std::string response);
  /// The current query was answered badly, and so the run ends; what arrived is its response.
  void CompleteAndEnd(DWORD run, std::string response);
  /// The run ends where it is.
  void Abandon(DWORD run);
  /// The same for whatever run is in progress: nobody runs it.
  void Abandon();
  /// And for one that was never begun, and now never will be.
  void AbandonAll();

 private:
  bool HasEnded() const { return progress_.runStatus >= 1 && progress_.runStatus <= QueryProgress::kCancelled; }
  bool IsRun(DWORD run) const { return querying_ && run == run_; }
  void EndRun();
  void Store(std::string response);
  void Advance();

  mutable OCriticalSection lock_;
  std::vector<QueryProperties> queries_;
  QueryProgress progress_;
  DWORD run_ = 0;
  bool queriesAdded_ = false;
  bool querying_ = false;
};

}  // namespace portwise
