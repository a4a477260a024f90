#include "network/web_server_http.h"

#include <algorithm>
#include <iterator>
#include <new>

#include "core/fault/fault_translator.h"
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
/// In bytes; nothing of more than this names a printer.
constexpr size_t kMaxName = 4096;

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

/// False when the port was closed before the request had run to its end. A fault in a plug-in is thrown from here, so
/// that whoever uses the port lets it go.
bool Execute(PortContext* port, std::string_view commands, TextBuffer& reply) {
  auto execute = [&] { return ExecuteRequest(port, commands, reply) ? TRUE : FALSE; };
  const auto call = [](void* called) -> BOOL { return (*static_cast<decltype(execute)*>(called))(); };
  return CallTranslated(call, &execute) != FALSE;
}

void RunCommands(PortContext* port, std::string_view commands, HTTPResponse& response, ServerResponse& out) {
  TextBuffer& reply = out.body;
  bool done = true;
  try {
    done = Execute(port, commands, reply);
  } catch (const OException& exception) {
    EndFault();
    out.failure = exception;
  } catch (CMemoryException*) {
    out.failure = OException::OutOfMemory();
  } catch (const std::bad_alloc&) {
    if (!reply.IsAllowanceExceeded()) out.failure = OException::OutOfMemory();
  } catch (const std::exception& exception) {
    // What a plug-in throws may be code of the plug-in, which can be unloaded as soon as the port is let go.
    out.failure = OStdException(exception);
  }
  if (out.failure) return TellHasRun("The request failed inside.\n", response, reply);
  if (!done) return TellHasRun("The port was closed before the request had run to its end.\n", response, reply);
  EndReply(response, reply);
  if (reply.IsAllowanceExceeded()) {
    TellHasRun("There was not enough memory for the request and its reply.\n", response, reply);
  }
}

/// What is left of a name that is too long still names nothing.
OString ReadName(const HTTPRequest& request, std::string_view parameter) {
  const std::string bytes = request.GetParameterBytes(parameter);
  return OString(std::string_view(bytes).substr(0, kMaxName));
}

void AnswerXpml(ReceivedRequest& request, HTTPResponse& response, ServerResponse& out) {
  const AllowedBytes memory(out.body.Allowance(), request.bytes.Bytes().size());
  if (!memory) return response.SetStatus(kUnavailable);
  const OString printer = ReadName(request.parts, "printer");
  const OString share = ReadName(request.parts, "share");
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
  RunCommands(port.Get(), commands, response, out);
}

void AnswerText(const OString& text, HTTPResponse& response, TextBuffer& body) {
  response.SetContentType("text/plain");
  if (!body.Append(text.NarrowView())) response.SetStatus(kUnavailable);
}

void AnswerInfo(ReceivedRequest& request, HTTPResponse& response, ServerResponse& out) {
  const AllowedBytes memory(out.body.Allowance(), request.bytes.Bytes().size());
  if (!memory) return response.SetStatus(kUnavailable);
  const OString printer = ReadName(request.parts, "printer");
  if (printer.IsEmpty()) return response.SetStatus(kBadRequest);
  AnswerText(PrinterInfoPage(printer), response, out.body);
}

void AnswerTickCount(ReceivedRequest&, HTTPResponse& response, ServerResponse& out) {
  AnswerText(OString::FromUnsigned(GetTickCount()), response, out.body);
}

constexpr struct {
  const char* path;
  void (*answer)(ReceivedRequest& request, HTTPResponse& response, ServerResponse& out);
} kResources[] = {{"/xpml", AnswerXpml}, {"/info", AnswerInfo}, {"/tickcount", AnswerTickCount}};

void Answer(ReceivedRequest& request, HTTPResponse& response, ServerResponse& out) {
  const std::string_view bytes = request.bytes.Bytes();
  request.parts.ParseInPlace(bytes);
  response.SetHeader("Connection", request.parts.GetHeader("Connection"));
  const auto* resource = std::find_if(std::begin(kResources), std::end(kResources),
                                      [&](const auto& each) { return request.parts.Uri() == each.path; });
  if (resource != std::end(kResources)) return resource->answer(request, response, out);
  response.SetContentType("text/plain");
  if (!out.body.Append(bytes.substr(0, bytes.find('\0')))) response.SetStatus(kUnavailable);
}

}  // namespace

DWORD WebServerHTTP::OnClientConnected(const std::string&, WORD) { return 0; }

DWORD WebServerHTTP::OnDataSent(size_t) { return 0; }

bool WebServerHTTP::HandleRequest(RequestBuffer& bytes, ServerResponse* out, bool*) {
  ReceivedRequest request{bytes, {}};
  HTTPResponse response;
  Answer(request, response, *out);
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
