#pragma once

#include <windows.h>

#include <string_view>

#include "connection/socket_library.h"
#include "core/ostring.h"
#include "core/socket_handle.h"

namespace portwise {

/// A TCP connection to a server, with the socket library that it needs. What fails throws a SocketException. One thread
/// at a time; closed when destroyed.
class ClientSocket {
 public:
  /// How long a send waits for room and a receive for bytes, in milliseconds; 0 is without limit.
  explicit ClientSocket(DWORD timeout);

  /// Looks the host up and connects once; both take as long as the system lets them.
  void Connect(const OString& host, DWORD port);
  void SendAll(std::string_view bytes);
  /// What has arrived, at least one byte; waits for it. 0 when the peer has ended.
  size_t Receive(char* buffer, size_t size);

 private:
  const SocketLibrary library_;
  unique_socket socket_;
};

}  // namespace portwise
