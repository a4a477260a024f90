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

struct SocketEventTraits {
  using Value = WSAEVENT;
  static Value None() { return WSA_INVALID_EVENT; }
  static bool IsNone(Value value) { return value == WSA_INVALID_EVENT; }
  static void Release(Value value) { WSACloseEvent(value); }
};
using unique_socket_event = UniqueResource<SocketEventTraits>;

}  // namespace portwise
