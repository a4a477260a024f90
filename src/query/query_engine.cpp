#include "query/query_engine.h"

#include <algorithm>
#include <optional>

#include "query/query_exchange.h"
#include "query/response_pattern.h"

namespace portwise {
namespace {

constexpr size_t kMostToldPatterns = 100;
constexpr size_t kShownOfPattern = 200;

/// A run of the request list, for a scope.
class RequestRun {
 public:
  explicit RequestRun(RequestList& requests) : requests_(requests) { requests_.BeginRun(); }
  ~RequestRun() { requests_.EndRun(); }
  RequestRun(const RequestRun&) = delete;
  RequestRun& operator=(const RequestRun&) = delete;

 private:
  RequestList& requests_;
};

/// The answer of a request: its pattern decides, or else the protocol plug-in, or else the monitor-interface plug-in.
class RequestJudge final : public AnswerJudge {
 public:
  RequestJudge(QueryHost& host, const RequestList& requests, ResponsePattern* pattern)
      : host_(host), requests_(requests), pattern_(pattern) {}

  bool IsStopped() override { return requests_.IsStopping(); }
  PluginVerdict Judge(std::string_view answer, DWORD count) override {
    if (pattern_) return pattern_->Matches(answer) ? PluginVerdict::Complete : PluginVerdict::Incomplete;
    if (host_.Protocol().IsActive()) {
      // After a full read there is more to come.
      return count < QueryExchange::kReadSize ? PluginVerdict::Complete : PluginVerdict::Incomplete;
    }
    return host_.Plugin().PassData(answer.data(), static_cast<DWORD>(answer.size()));
  }

 private:
  QueryHost& host_;
  const RequestList& requests_;
  ResponsePattern* const pattern_;
};

/// The answer of a query of the queue, of which the plug-in decides.
class QueueJudge final : public AnswerJudge {
 public:
  QueueJudge(QueryHost& host, QueryQueue& queue, DWORD run) : host_(host), queue_(queue), run_(run) {}

  bool IsStopped() override { return queue_.IsOver(run_); }
  PluginVerdict Judge(std::string_view answer, DWORD count) override {
    queue_.CountRead(run_, count);
    return host_.Plugin().PassData(answer.data(), static_cast<DWORD>(answer.size()));
  }

 private:
  QueryHost& host_;
  QueryQueue& queue_;
  const DWORD run_;
};

}  // namespace

void QueryEngine::RunRequests() {
  requests_.Purge();
  const RequestRun run(requests_);
  while (std::optional<QueryRequest> request = requests_.TakeDue()) {
    try {
      RunOneRequest(*request);
    } catch (...) {
      // A fault of the plug-in must not leave a request that is run for ever.
      request->status = RequestStatus::Failed;
      requests_.FailPending("*");
      requests_.Record(*request);
      throw;
    }
    requests_.Record(*request);
    if (requests_.IsStopping() || host_.IsStopping()) break;
  }
}

void QueryEngine::FailDue() {
  requests_.Purge();
  {
    const RequestRun run(requests_);
    while (std::optional<QueryRequest> request = requests_.TakeDue()) {
      request->status = RequestStatus::Failed;
      requests_.Record(*request);
    }
  }
  queue_.Abandon();
}

void QueryEngine::RunOneRequest(QueryRequest& request) {
  if (Ask(request)) {
    request.status = RequestStatus::Complete;
  } else if (requests_.IsStopping()) {
    request.status = RequestStatus::Cancelled;
  } else {
    request.status = RequestStatus::Failed;
    requests_.FailPending("*");
  }
}

bool QueryEngine::Ask(QueryRequest& request) {
  QueryExchange exchange(host_, request.command, request.parameters.c_str(), request.sendTimeout,
                         request.receiveStartTimeout);
  Notify(ProtocolEvent::QueryStart, PluginEvent::QueryStart);
  if (request.Writes()) {
    SetReadTimeouts(request);
    if (!exchange.Send(kSendRequest)) return false;
    Notify(ProtocolEvent::QuerySent, PluginEvent::QuerySent);
  }
  request.response.clear();
  if (!request.Reads()) return true;
  if (!Receive(exchange, request)) return false;
  Notify(ProtocolEvent::QueryAnswered, PluginEvent::QueryAnswered);
  return true;
}

void QueryEngine::SetReadTimeouts(const QueryRequest& request) {
  Connection& connection = host_.PrinterConnection();
  COMMTIMEOUTS timeouts;
  connection.GetDefaultTimeouts(&timeouts);
  timeouts.ReadIntervalTimeout = timeouts.ReadTotalTimeoutConstant = request.receiveIntervalTimeout / 2;
  // Not every port has timeouts; those that have none are read as they are.
  connection.SetTimeouts(timeouts);
}

bool QueryEngine::Receive(QueryExchange& exchange, QueryRequest& request) {
  std::optional<ResponsePattern> pattern;
  if (!request.responsePattern.empty()) {
    pattern.emplace(request.responsePattern);
    TellProblem(request, *pattern);
  }
  RequestJudge judge(host_, requests_, pattern ? &*pattern : nullptr);
  const bool complete = exchange.Receive(judge, &request.response);
  if (pattern) TellProblem(request, *pattern);
  return complete;
}

void QueryEngine::Notify(ProtocolEvent protocolEvent, PluginEvent pluginEvent) {
  if (host_.Protocol().IsActive()) {
    host_.Protocol().Notify(protocolEvent);
  } else {
    host_.Plugin().Notify(pluginEvent);
  }
}

/// One that takes the command learns that it is no print data.
void QueryEngine::NotifyProtocol(ProtocolEvent event) {
  if (host_.Protocol().IsActive()) host_.Protocol().Notify(event);
}

/// Once for each pattern, however often it is used.
void QueryEngine::TellProblem(const QueryRequest& request, const ResponsePattern& pattern) {
  if (pattern.Problem().empty()) return;
  if (toldPatterns_.size() >= kMostToldPatterns) toldPatterns_.clear();
  if (!toldPatterns_.insert(request.responsePattern).second) return;
  const auto text = [](std::string_view bytes) { return OString(bytes.substr(0, kShownOfPattern), kCodePageOneByte); };
  host_.Warn(OString("The response pattern \"") + text(request.responsePattern) + "\" of the query request \"" +
             text(request.id) + "\" never matches: " + text(pattern.Problem()) + ".");
}

void QueryEngine::RunQueryQueue() {
  const std::optional<QueryQueue::Step> step = queue_.CurrentStep();
  if (!step) return;
  if (host_.PrinterConnection().GetStatus(STATUS_DISCONNECTED) != 0) {
    if (host_.FollowsStatus()) {
      host_.SetStatusOffline();
    } else {
      queue_.Abandon(step->run);
    }
    return;
  }
  bool sent = false;
  try {
    sent = RunQuery(*step);
  } catch (...) {
    queue_.Abandon(step->run);
    throw;
  }
  if (!sent) queue_.Abandon(step->run);
}

/// False when the query could not be sent.
bool QueryEngine::RunQuery(const QueryQueue::Step& step) {
  // Commands of the queue are C strings, in the length that they had.
  std::string command = step.command;
  std::fill(command.begin() + static_cast<std::ptrdiff_t>(std::min(command.find('\0'), command.size())), command.end(),
            '\0');
  queue_.SetDisplayStatus(step.run, "Querying");
  QueryExchange exchange(host_, command, nullptr);
  host_.Plugin().Notify(PluginEvent::QueryStart);
  NotifyProtocol(ProtocolEvent::QueryStart);
  if (!exchange.Send(kSendQueueQuery)) return false;
  NotifyProtocol(ProtocolEvent::QuerySent);
  queue_.CountWritten(step.run, command.size());

  queue_.SetDisplayStatus(step.run, "Receiving");
  QueueJudge judge(host_, queue_, step.run);
  std::string answer;
  if (exchange.Receive(judge, &answer)) {
    NotifyProtocol(ProtocolEvent::QueryAnswered);
    host_.Plugin().Notify(PluginEvent::QueryAnswered);
    queue_.Complete(step.run, std::move(answer));
  } else {
    queue_.CompleteAndEnd(step.run, std::move(answer));
  }
  return true;
}

}  // namespace portwise
