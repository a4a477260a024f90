#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "portwise/client.h"

namespace portwise {

/// The client functions of the library, which is loaded as other programs load it.
class ClientLibrary {
 public:
  using SendFunction = decltype(&::SendXPMLRequest);

  /// CommandError when the library or one of its functions is not there.
  ClientLibrary();

  /// Over HTTP or through the spooler, and over HTTP alone.
  SendFunction Send() const { return send_; }
  SendFunction SendHttp() const { return sendHttp_; }

  /// The reply to a request, which has no NUL in it; nothing without one, and the last error tells why. The NUL that
  /// text gets over HTTP is taken off.
  std::optional<std::string> Ask(SendFunction send, const std::string& printer, const std::string& request) const;

 private:
  SendFunction send_;
  SendFunction sendHttp_;
  decltype(&::HTTPResponse_Size) size_;
  decltype(&::HTTPResponse_Data) data_;
  decltype(&::HTTPResponse_Free) free_;
};

}  // namespace portwise
