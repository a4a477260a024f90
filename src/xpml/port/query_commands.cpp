#include "xpml/port/query_commands.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "query/query_command_port.h"
#include "query/query_queue.h"
#include "query/request_list.h"
#include "query/response_pattern.h"
#include "query/ticks.h"
#include "xpml/document.h"
#include "xpml/port/reply.h"
#include "xpml/tag.h"

namespace portwise {
namespace {

std::string Number(LONGLONG value) { return std::to_string(value); }

/// What a client reads of the queue's progress, by the attribute `value`.
constexpr struct {
  const char* value;
  std::string (*text)(const QueryProgress&);
} kProgress[] = {
    {"total", [](const QueryProgress& progress) { return Number(progress.total); }},
    {"current", [](const QueryProgress& progress) { return Number(progress.current); }},
    {"complete", [](const QueryProgress& progress) { return Number(progress.complete); }},
    {"status", [](const QueryProgress& progress) { return Number(progress.runStatus); }},
    {"bytes read", [](const QueryProgress& progress) { return Number(progress.bytesRead); }},
    {"bytes written", [](const QueryProgress& progress) { return Number(progress.bytesWritten); }},
    {"display status", [](const QueryProgress& progress) { return std::string(progress.displayStatus.NarrowView()); }},
};

/// What a client reads of a request, by the attribute `get`.
constexpr struct {
  const char* word;
  std::string (*text)(const QueryRequest&);
} kRequestParts[] = {
    {"name", [](const QueryRequest& request) { return request.name; }},
    {"status", [](const QueryRequest& request) { return Number(static_cast<DWORD>(request.status)); }},
    {"command", [](const QueryRequest& request) { return request.command; }},
    {"response", [](const QueryRequest& request) { return request.response; }},
    {"dump", [](const QueryRequest& request) { return DumpText(request); }},
};

/// The timeouts of a request, which 0 leaves to the port.
constexpr struct {
  const char* attribute;
  DWORD QueryRequest::*timeout;
} kTimeouts[] = {
    {"sendTimeout", &QueryRequest::sendTimeout},
    {"receiveStartTimeout", &QueryRequest::receiveStartTimeout},
    {"receiveIntervalTimeout", &QueryRequest::receiveIntervalTimeout},
};

DWORD PositiveAttribute(const XPML_Document& document, const char* name) {
  const LONG value = document.GetAttributeInt(name, 0);
  return value > 0 ? static_cast<DWORD>(value) : 0;
}

DWORD TickAttribute(const XPML_Document& document, const char* name) {
  const DWORD milliseconds = PositiveAttribute(document, name);
  return milliseconds > 0 ? TickAfter(milliseconds) : 0;
}

std::string ReadQueue(const XPML_Document& document, const QueryQueue& queue) {
  const std::string_view value = document.GetAttribute("value");
  const QueryProgress progress = queue.Progress();
  for (const auto& row : kProgress) {
    if (EqualsNoCase(value, row.value)) return row.text(progress);
  }
  const LONG index = document.GetAttributeInt("index", -1);
  if (EqualsNoCase(value, "current name")) return queue.NameAt(progress.current).value_or("");
  if (EqualsNoCase(value, "name")) return queue.NameAt(index).value_or("");
  if (!EqualsNoCase(value, "response")) return "";
  return (index >= 0 ? queue.ResponseAt(index) : queue.ResponseOf(document.GetAttribute("name"))).value_or("");
}

void ActOnQueue(XPML_Document& document, QueryQueue& queue) {
  const std::string_view action = document.GetAttribute("action");
  std::string reply;
  if (EqualsNoCase(action, "execute")) {
    queue.Add(document.CurrentText().View(), document.GetAttribute("name"));
  } else if (EqualsNoCase(action, "cancel")) {
    queue.Cancel();
  } else if (EqualsNoCase(action, "get")) {
    reply = ReadQueue(document, queue);
  }
  ReplaceContent(document, reply);
}

void ActOnRequests(XPML_Document& document, std::string_view queryId, QueryCommandPort& port) {
  RequestList& requests = port.Requests();
  const std::string_view action = document.GetAttribute("action");
  std::string reply;
  if (EqualsNoCase(document.GetAttribute("get"), "requests")) {
    for (const std::string& id : requests.ListIds(queryId)) reply.append(id).append("\r\n");
  } else if (EqualsNoCase(action, "cancel")) {
    requests.Cancel(queryId);
  } else if (EqualsNoCase(action, "retry")) {
    requests.Retry(queryId);
    SetEvent(port.QueryEvent());
  }
  ReplaceContent(document, reply);
}

std::unique_ptr<QueryRequest> NewRequest(XPML_Document& document) {
  auto request = std::make_unique<QueryRequest>();
  request->id = document.GetAttribute("id");
  request->name = document.GetAttribute("name");
  request->queryId = document.FindAttribute("query", "id");
  request->queryName = document.FindAttribute("query", "name");
  request->command = document.CurrentText().View();
  request->parameters = document.GetAttribute("parameters");
  request->responsePattern = DecodePatternEntities(document.FindAttribute("request", "responsePattern"));
  for (const auto& row : kTimeouts) request.get()->*row.timeout = PositiveAttribute(document, row.attribute);
  request->startTime = TickAttribute(document, "startTime");
  request->expirationTime = TickAttribute(document, "expirationTime");
  request->repeatInterval = PositiveAttribute(document, "repeatInterval");
  return request;
}

}  // namespace

bool RunQuery(XPML_Document& document, QueryCommandPort& port) {
  const std::string_view queryId = document.GetAttribute("id");
  if (queryId.empty()) {
    ActOnQueue(document, port.Queries());
  } else {
    ActOnRequests(document, queryId, port);
  }
  return true;
}

bool RunRequest(XPML_Document& document, QueryCommandPort& port) {
  const std::string_view id = document.GetAttribute("id");
  const std::string_view queryId = document.GetAttribute("query");
  const std::string_view get = document.GetAttribute("get");
  if (!id.empty() && !document.GetAttribute("name").empty() && get.empty()) {
    port.Requests().Add(NewRequest(document));
    SetEvent(port.QueryEvent());
    ReplaceContent(document, "");
    return true;
  }
  std::string reply;
  if (!id.empty() && !queryId.empty()) {
    if (const std::optional<QueryRequest> request = port.Requests().FindCopy(queryId, id)) {
      for (const auto& row : kRequestParts) {
        if (EqualsNoCase(get, row.word)) reply = row.text(*request);
      }
    }
  }
  ReplaceContent(document, reply);
  return !id.empty() && !queryId.empty();
}

}  // namespace portwise
