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

/// What a C string cannot hold, and what a person would not read.
bool IsBinary(std::string_view reply) {
  return std::any_of(reply.begin(), reply.end(),
                     [](char byte) { return static_cast<unsigned char>(byte) < 32 && byte != '\n' && byte != '\r'; });
}

void AnswerXpml(const HTTPRequest& request, HTTPResponse& response) {
  const OString printer = request.GetParameter("printer");
  const OString share = request.GetParameter("share");
  const std::string commands = request.GetParameterBytes("xpml");
  PortUse port;
  // At the process's end the list goes before a thread that was given up.
  PortList* const ports = Ports();
  if (ports && !printer.IsEmpty()) port = ports->FindByPrinterName(printer);
  if (ports && !share.IsEmpty()) port = ports->FindByShareName(share);
  if (!port || commands.empty()) {
    response.SetStatus(kBadRequest);
    return;
  }
  TextBuffer reply;
  ExecuteRequest(port.Get(), commands, reply);
  if (IsBinary(reply.View())) {
    response.SetBinaryBody(std::string(reply.View()));
  } else {
    response.SetTerminatedTextBody(std::string(reply.View()));
  }
}

void AnswerInfo(const HTTPRequest& request, HTTPResponse& response) {
  const OString printer = request.GetParameter("printer");
  if (printer.IsEmpty()) {
    response.SetStatus(kBadRequest);
  } else {
    response.SetTextBody(PrinterInfoPage(printer));
  }
}

void AnswerTickCount(const HTTPRequest&, HTTPResponse& response) {
  response.SetTextBody(OString::FromUnsigned(GetTickCount()));
}

constexpr struct {
  const char* path;
  void (*answer)(const HTTPRequest& request, HTTPResponse& response);
} kResources[] = {{"/xpml", AnswerXpml}, {"/info", AnswerInfo}, {"/tickcount", AnswerTickCount}};

}  // namespace

DWORD WebServerHTTP::OnClientConnected(const std::string&, WORD) { return 0; }

DWORD WebServerHTTP::OnDataSent(size_t) { return 0; }

bool WebServerHTTP::HandleRequest(std::string_view bytes, std::string* out, bool*) {
  HTTPRequest request;
  request.Parse(bytes.data(), bytes.size(), true);
  HTTPResponse response;
  response.SetHeader("Connection", request.GetHeader("Connection"));
  const auto* resource = std::find_if(std::begin(kResources), std::end(kResources),
                                      [&](const auto& each) { return request.Uri() == each.path; });
  if (resource != std::end(kResources)) {
    resource->answer(request, response);
  } else {
    response.SetBinaryBody(std::string(bytes.substr(0, bytes.find('\0'))));
    response.SetContentType("text/plain");
  }
  response.Serialize(out);
  return true;
}

void WebServerHTTP::MakeRefusal(DWORD status, std::string* out) {
  HTTPResponse response;
  response.SetStatus(status);
  response.SetHeader("Connection", "close");
  response.Serialize(out);
}

}  // namespace portwise
