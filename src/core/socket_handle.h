#pragma once

#include <winsock2.h>

#include "core/unique_resource.h"

namespace portwise {

struct SocketTraits {
  using Value = SOCKET;
  static Value None() { return INVALID_SOCKET; }
  static bool IsNone(Value value) { return value == INVALID_SOCKET; }
  static void Release(Value value) { closesocket(value); }
};
using unique_socket = UniqueResource<SocketTraits>;

/// An overlapped one, since no others have time-outs. Programs that the process starts do not inherit it: they would
/// hold the connection open. None when the system refuses, with the error of the socket library.
inline unique_socket NewTcpSocket() {
  const auto open = [](DWORD flags) {
    return unique_socket(WSASocketW(AF_INET, SOCK_STREAM, IPPROTO_TCP, nullptr, 0, WSA_FLAG_OVERLAPPED | flags));
  };
  unique_socket socket = open(WSA_FLAG_NO_HANDLE_INHERIT);
  // Windows 7 knows the flag since its first service pack.
  if (!socket && WSAGetLastError() == WSAEINVAL) socket = open(0);
  return socket;
}

struct SocketEventTraits {
  using Value = WSAEVENT;
  static Value None() { return WSA_INVALID_EVENT; }
  static bool IsNone(Value value) { return value == WSA_INVALID_EVENT; }
  static void Release(Value value) { WSACloseEvent(value); }
};
using unique_socket_event = UniqueResource<SocketEventTraits>;

}  // namespace portwise
