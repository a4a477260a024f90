#pragma once

#include <windows.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/synchronizer.h"
#include "query/query_request.h"

namespace portwise {

/// The requests of a port, in the order in which they were added. Any thread; every call is one step under the list's
/// lock, which nobody holds while the printer is awaited. A query ID selects the requests of that very query; "*"
/// selects all.
class RequestList {
 public:
  RequestList() = default;
  RequestList(const RequestList&) = delete;
  RequestList& operator=(const RequestList&) = delete;

  /// Takes a request; null does nothing.
  void Add(std::unique_ptr<QueryRequest> request);

  /// A copy of the first selected request with that id, of the first at all for "*", or of the n-th, from 1, for "#n".
  std::optional<QueryRequest> FindCopy(std::string_view queryId, std::string_view request) const;
  /// The ids of the selected requests.
  std::vector<std::string> ListIds(std::string_view queryId) const;

  /// The selected requests that are pending become cancelled. Whatever is being run, of this query or not, is stopped.
  void Cancel(std::string_view queryId);
  /// The selected requests that are pending become failed, and those that failed pending again.
  void FailPending(std::string_view queryId);
  void Retry(std::string_view queryId);

  bool AnyPending() const;
  /// Milliseconds until the next pending request falls due, 0 when one is due; nothing when none is pending.
  std::optional<DWORD> TimeUntilDue() const;
  /// Some request is pending and due.
  bool AnyDue() const { return TimeUntilDue() == DWORD{0}; }

  /// Deletes what has expired, and what was finished more than ten minutes ago.
  void Purge();

  /// A run: one thread takes requests and records their outcome, until it ends the run. A cancel holds for the run.
  void BeginRun();
  void EndRun();
  bool IsStopping() const;
  /// The first request that is pending, and was due when the run began, becomes active; a copy of it, or nothing. So
  /// one that repeats runs once in a run, however long that takes.
  std::optional<QueryRequest> TakeDue();
  /// Gives a request that was taken the status of its copy, and its response when it is complete; when it repeats it is
  /// pending again. An earlier, finished request of the same ids, which readers find first, shows the outcome too.
  void Record(const QueryRequest& ran);

 private:
  using Requests = std::vector<std::unique_ptr<QueryRequest>>;

  const QueryRequest* Find(std::string_view queryId, std::string_view request) const;
  void Change(std::string_view queryId, RequestStatus from, RequestStatus to);

  mutable OCriticalSection lock_;
  Requests requests_;
  ULONGLONG serial_ = 0;
  DWORD runBegin_ = 0;  // tick count
  bool running_ = false;
  bool stopping_ = false;
};

}  // namespace portwise
