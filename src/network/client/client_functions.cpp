// What the library exports to other programs.

#include <windows.h>

#include <algorithm>
#include <climits>
#include <cstring>

#include "connection/address.h"
#include "monitor/net_mon_exception_handler.h"
#include "network/client/xpml_client.h"
#include "portwise/client.h"

namespace portwise {
namespace {

/// Runs `body` under a guard of its own; what it returns, or 0 when something escaped it.
template <class Body>
int RunExport(const char* name, Body&& body) {
  NetMonExceptionHandler guard(name, NetMonExceptionHandler::kOperationFlags);
  int result = 0;
  const BOOL done = RunGuarded(guard, [&] {
    result = body();
    return TRUE;
  });
  return done ? result : 0;
}

using Way = XpmlAnswer (XpmlClient::*)(std::string_view, XpmlClient::ResponsePointer*) const;

int Send(const char* name, Way way, LPCWSTR printer, const char* request, PortwiseResponse** response) {
  if (response) *response = nullptr;
  if (!printer || !request) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  return RunExport(name, [&] {
    XpmlClient::ResponsePointer received;
    const XpmlAnswer answer = (XpmlClient(printer).*way)(request, &received);
    if (answer != XpmlAnswer::None && response) *response = reinterpret_cast<PortwiseResponse*>(received.release());
    return static_cast<int>(answer);
  });
}

const HTTPResponse& Get(const PortwiseResponse* response) { return *reinterpret_cast<const HTTPResponse*>(response); }

int SizeOf(const HTTPResponse& response) {
  return static_cast<int>(std::min<ULONGLONG>(response.GetContentLength(), INT_MAX));
}

}  // namespace
}  // namespace portwise

using namespace portwise;

int WINAPI SendXPMLRequest(LPCWSTR printer, const char* request, PortwiseResponse** response) {
  return Send("SendXPMLRequest", &XpmlClient::Send, printer, request, response);
}

int WINAPI SendXPMLRequest_HTTP(LPCWSTR printer, const char* request, PortwiseResponse** response) {
  return Send("SendXPMLRequest_HTTP", &XpmlClient::SendHttp, printer, request, response);
}

int WINAPI SendXPMLRequest_Local(LPCWSTR printer, const char* request, PortwiseResponse** response) {
  return Send("SendXPMLRequest_Local", &XpmlClient::SendLocal, printer, request, response);
}

int WINAPI HTTPResponse_Status(const PortwiseResponse* response) {
  if (!response) return 0;
  return RunExport("HTTPResponse_Status", [&] { return static_cast<int>(Get(response).StatusCode()); });
}

int WINAPI HTTPResponse_Size(const PortwiseResponse* response) {
  if (!response) return 0;
  return RunExport("HTTPResponse_Size", [&] { return SizeOf(Get(response)); });
}

int WINAPI HTTPResponse_Data(const PortwiseResponse* response, void* buffer) {
  if (!response || !buffer) return 0;
  return RunExport("HTTPResponse_Data", [&] {
    const std::string& body = Get(response).Body();
    const size_t length = std::min(body.size(), static_cast<size_t>(SizeOf(Get(response))));
    if (length > 0) std::memcpy(buffer, body.data(), length);
    return static_cast<int>(length);
  });
}

void WINAPI HTTPResponse_Free(PortwiseResponse* response) {
  RunExport("HTTPResponse_Free", [&] {
    delete reinterpret_cast<HTTPResponse*>(response);
    return 1;
  });
}

BOOL WINAPI HostNameToIP(const char* host, void* address) {
  if (!host || !address) return FALSE;
  return RunExport("HostNameToIP", [&] {
    SOCKADDR_IN found = {};
    if (!ResolveAddress(host, 0, &found)) return FALSE;
    std::memcpy(address, &found.sin_addr, sizeof found.sin_addr);
    return TRUE;
  });
}
