#pragma once

#include <winsock2.h>

namespace portwise::platform {

/// The WSA code of an errno value; WSAEINVAL for a value that no socket call is known to give.
int SocketErrorOf(int errorNumber);

/// The WSA code of a result of getaddrinfo; `errorNumber` is errno, which counts for EAI_SYSTEM.
int LookupErrorOf(int result, int errorNumber);

/// Leaves `code` in the thread's last error. Always returns SOCKET_ERROR, so that a call can end with it.
int FailSocketCall(int code);

}  // namespace portwise::platform
