#pragma once

#include <windows.h>

#include <memory>
#include <string_view>

#include "core/ostring.h"
#include "network/http/http_response.h"

namespace portwise {

/// The service has run the request, but has no reply to it.
inline constexpr DWORD kHasRunWithoutReply = ERROR_CAN_NOT_COMPLETE;

/// Sends a request to a server over a connection of its own, and waits for the response, in which each pause may take
/// `timeout` milliseconds. Null when there is none, when it is no response of HTTP and when its status is not 200. The
/// thread's last error is then the socket's error; WSAECONNRESET for a response that ends too soon,
/// ERROR_INVALID_PRINTER_NAME for the status 400, with which the network service answers for a printer that it does not
/// have, kHasRunWithoutReply where sending it again would run it twice, and ERROR_INVALID_DATA for anything else that
/// is no answer.
std::unique_ptr<HTTPResponse> SendRequest(std::string_view bytes, const OString& host, DWORD port, DWORD timeout);

}  // namespace portwise
