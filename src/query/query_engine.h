#pragma once

#include <set>
#include <string>

#include "query/query_host.h"
#include "query/query_queue.h"
#include "query/request_list.h"

namespace portwise {

class QueryExchange;
class ResponsePattern;

/// Asks the printer what requests and queries want to know. The status thread only, while it holds the connection; the
/// list and the queue are open to everybody meanwhile.
class QueryEngine {
 public:
  /// All three must outlive the engine.
  QueryEngine(QueryHost& host, RequestList& requests, QueryQueue& queue)
      : host_(host), requests_(requests), queue_(queue) {}
  QueryEngine(const QueryEngine&) = delete;
  QueryEngine& operator=(const QueryEngine&) = delete;

  /// Runs every request that is due, one after another, until none is left or a client cancels. A request that fails
  /// fails all others that are pending.
  void RunRequests();
  /// Runs the current query of the queue, when a run is in progress.
  void RunQueryQueue();
  /// The printer cannot be asked: the requests that are due fail, and a run of the queue ends without an answer.
  void FailDue();

 private:
  void RunOneRequest(QueryRequest& request);
  bool Ask(QueryRequest& request);
  bool Receive(QueryExchange& exchange, QueryRequest& request);
  bool RunQuery(const QueryQueue::Step& step);
  void SetReadTimeouts(const QueryRequest& request);
  void Notify(ProtocolEvent protocolEvent, PluginEvent pluginEvent);
  void NotifyProtocol(ProtocolEvent event);
  void TellProblem(const QueryRequest& request, const ResponsePattern& pattern);

  QueryHost& host_;
  RequestList& requests_;
  QueryQueue& queue_;
  std::set<std::string> toldPatterns_;  // the port has been warned of them
};

}  // namespace portwise
