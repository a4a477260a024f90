#include "network/web_server_http.h"

#include <algorithm>
#include <iterator>

#include "monitor/port_list.h"
#include "network/http/http_request.h"
#include "network/http/http_response.h"
#include "network/printer_info_page.h"
#include "xpml/request.h"

namespace portwise {
namespace {

constexpr DWORD kBadRequest = 400;
constexpr DWORD kFailed = 500;
constexpr DWORD kUnavailable = 503;

/// A request that has been taken apart, over its bytes.
struct ReceivedRequest {
  /// Gives the memory back.
  void Drop() {
    parts = HTTPRequest();
    bytes.Clear();
  }

  RequestBuffer& bytes;
  HTTPRequest parts;
};

/// What a C string cannot hold, and what a person would not read.
bool IsBinary(std::string_view reply) {
  return std::any_of(reply.begin(), reply.end(),
                     [](char byte) { return static_cast<unsigned char>(byte) < 32 && byte != '\n' && byte != '\r'; });
}

/// Text that clients can take for a C string: a NUL is put behind the reply.
void EndReply(HTTPResponse& response, TextBuffer& reply) {
  if (IsBinary(reply.View())) return;
  response.SetContentType("text/plain");
  reply.Append('\0');
}

/// Without all of a reply there is none; but what the request did is done.
void TellHasRun(std::string_view reason, HTTPResponse& response, TextBuffer& body) {
  response.SetStatus(kFailed);
  response.SetHeader(kHasRunHeader, "yes");
  response.SetContentType("text/plain");
  body.Free();
  body.Append(reason);
}

void RunCommands(PortContext* port, std::string_view commands, HTTPResponse& response, TextBuffer& reply) {
  const auto isExceeded = [&] { return reply.Allowance() && reply.Allowance()->IsExceeded(); };
  bool done = true;
  try {
    done = ExecuteRequest(port, commands, reply);
  } catch (...) {
    if (!isExceeded()) throw;
  }
  if (!done) return TellHasRun("The port was closed before the request had run to its end.\n", response, reply);
  EndReply(response, reply);
  if (isExceeded()) TellHasRun("There was not enough memory for the request and its reply.\n", response, reply);
}

void AnswerXpml(ReceivedRequest& request, HTTPResponse& response, TextBuffer& body) {
  const OString printer = request.parts.GetParameter("printer");
  const OString share = request.parts.GetParameter("share");
  const AllowedBytes memory(body.Allowance(), request.bytes.Bytes().size());
  if (!memory) return response.SetStatus(kUnavailable);
  const std::string commands = request.parts.GetParameterBytes("xpml");
  request.Drop();
  PortUse port;
  // At the process's end the list goes before a thread that was given up.
  PortList* const ports = Ports();
  if (ports && !printer.IsEmpty()) port = ports->FindByPrinterName(printer);
  if (ports && !share.IsEmpty()) {
    // The search for the other one may wait for the spooler, and that for this one's end.
    port = PortUse();
    port = ports->FindByShareName(share);
  }
  if (!port || commands.empty()) return response.SetStatus(kBadRequest);
  RunCommands(port.Get(), commands, response, body);
}

void AnswerText(const OString& text, HTTPResponse& response, TextBuffer& body) {
  response.SetContentType("text/plain");
  if (!body.Append(text.NarrowView())) response.SetStatus(kUnavailable);
}

void AnswerInfo(ReceivedRequest& request, HTTPResponse& response, TextBuffer& body) {
  const OString printer = request.parts.GetParameter("printer");
  if (printer.IsEmpty()) return response.SetStatus(kBadRequest);
  AnswerText(PrinterInfoPage(printer), response, body);
}

void AnswerTickCount(ReceivedRequest&, HTTPResponse& response, TextBuffer& body) {
  AnswerText(OString::FromUnsigned(GetTickCount()), response, body);
}

constexpr struct {
  const char* path;
  void (*answer)(ReceivedRequest& request, HTTPResponse& response, TextBuffer& body);
} kResources[] = {{"/xpml", AnswerXpml}, {"/info", AnswerInfo}, {"/tickcount", AnswerTickCount}};

void Answer(ReceivedRequest& request, HTTPResponse& response, TextBuffer& body) {
  const std::string_view bytes = request.bytes.Bytes();
  request.parts.ParseInPlace(bytes);
  response.SetHeader("Connection", request.parts.GetHeader("Connection"));
  const auto* resource = std::find_if(std::begin(kResources), std::end(kResources),
                                      [&](const auto& each) { return request.parts.Uri() == each.path; });
  if (resource != std::end(kResources)) return resource->answer(request, response, body);
  response.SetContentType("text/plain");
  if (!body.Append(bytes.substr(0, bytes.find('\0')))) response.SetStatus(kUnavailable);
}

}  // namespace

DWORD WebServerHTTP::OnClientConnected(const std::string&, WORD) { return 0; }

DWORD WebServerHTTP::OnDataSent(size_t) { return 0; }

bool WebServerHTTP::HandleRequest(RequestBuffer& bytes, ServerResponse* out, bool*) {
  ReceivedRequest request{bytes, {}};
  HTTPResponse response;
  Answer(request, response, out->body);
  response.SerializeHead(out->body.Length(), &out->head);
  return true;
}

void WebServerHTTP::MakeRefusal(DWORD status, std::string* out) {
  HTTPResponse response;
  response.SetStatus(status);
  response.SetHeader("Connection", "close");
  response.Serialize(out);
}

}  // namespace portwise
