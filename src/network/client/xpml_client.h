#pragma once

#include <windows.h>

#include <memory>
#include <string_view>

#include "core/ostring.h"
#include "network/http/http_response.h"
#include "settings/printer_info.h"

namespace portwise {

/// How a request was answered; 0 is not at all.
enum class XpmlAnswer { None = 0, Http = 1, Spooler = 2 };

/// Sends XPML requests to the monitor that drives a printer, of this computer or of another one. One thread at a time.
///
/// Without an answer `response` stays as it was, and the thread's last error tells why: what SendRequest and the
/// spooler say, ERROR_INVALID_PRINTER_NAME for a printer that the spooler does not know, ERROR_NOT_SUPPORTED for HTTP
/// when the settings close that way, ERROR_WRITE_FAULT for a request that the registry does not take, and
/// ERROR_NO_UNICODE_TRANSLATION for a printer whose name the spooler cannot be asked by. An answer may still be the
/// second one: when the first was lost on its way the request runs again.
class XpmlClient {
 public:
  using ResponsePointer = std::unique_ptr<HTTPResponse>;

  explicit XpmlClient(const OString& printer) : name_(printer), info_(printer) {}

  /// Over HTTP, and when that gives no answer, through the spooler when the printer is one of this computer.
  XpmlAnswer Send(std::string_view request, ResponsePointer* response) const;
  /// To the network service of the printer's computer, with as many attempts as the settings say.
  XpmlAnswer SendHttp(std::string_view request, ResponsePointer* response) const;
  /// Through the spooler of this computer. The response has the status 200 and exactly the bytes of the reply.
  XpmlAnswer SendLocal(std::string_view request, ResponsePointer* response) const;

 private:
  const OString name_;
  const PrinterInfo info_;
};

}  // namespace portwise
