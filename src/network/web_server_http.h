#pragma once

#include "network/web_server_base.h"

namespace portwise {

/// The resources of the network service: "/xpml" runs a request against a port, "/info" describes a printer,
/// "/tickcount" tells the time since the system started. Any other path is answered with the request itself.
class WebServerHTTP : public WebServerBase {
 public:
  DWORD OnClientConnected(const std::string& address, WORD port) override;
  DWORD OnDataSent(size_t bytes) override;
  bool IsRequestComplete(RequestBuffer& request) override { return request.LookForRequest(); }
  /// Never keeps the connection.
  bool HandleRequest(RequestBuffer& request, ServerResponse* response, bool* keepConnection) override;
  void MakeRefusal(DWORD status, std::string* response) override;
};

}  // namespace portwise
