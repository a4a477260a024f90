#include "network/listener.h"

namespace portwise {
namespace {

/// As many as the system holds.
constexpr int kBacklog = 0x7FFFFFFF;
constexpr DWORD kFailurePause = 100;  // ms

}  // namespace

int Listener::Open(DWORD address, DWORD port) {
  if (port == 0 || port > 0xFFFF) return WSAEADDRNOTAVAIL;
  return TryOpen(address, static_cast<WORD>(port)) ? 0 : WSAGetLastError();
}

bool Listener::TryOpen(DWORD address, WORD port) {
  SOCKADDR_IN own = {};
  own.sin_family = AF_INET;
  own.sin_port = htons(port);
  own.sin_addr.s_addr = htonl(address);
  socket_ = NewTcpSocket();
  if (!socket_ || bind(socket_.Get(), reinterpret_cast<const sockaddr*>(&own), sizeof own) != 0 ||
      listen(socket_.Get(), kBacklog) != 0) {
    return false;
  }
  shutdown_.Reset(WSACreateEvent());
  accept_.Reset(WSACreateEvent());
  return shutdown_ && accept_ && WSAEventSelect(socket_.Get(), accept_.Get(), FD_ACCEPT) == 0;
}

bool Listener::Await() {
  const WSAEVENT events[] = {shutdown_.Get(), accept_.Get()};
  while (!ended_) {
    const DWORD signalled = WSAWaitForMultipleEvents(2, events, FALSE, WSA_INFINITE, FALSE);
    if (signalled == WSA_WAIT_EVENT_0) return false;
    if (signalled == WSA_WAIT_EVENT_0 + 1) {
      WSANETWORKEVENTS happened = {};
      if (WSAEnumNetworkEvents(socket_.Get(), accept_.Get(), &happened) != 0) return false;
      if (happened.lNetworkEvents == FD_ACCEPT) return true;
    } else {
      // Where everything is used up, so may be what a wait needs.
      Sleep(kFailurePause);
    }
  }
  return false;
}

unique_socket Listener::Accept(SOCKADDR_IN* peer) {
  int size = sizeof *peer;
  return unique_socket(WSAAccept(socket_.Get(), reinterpret_cast<sockaddr*>(peer), &size, nullptr, 0));
}

void Listener::Pause(DWORD milliseconds) {
  const WSAEVENT shutdown = shutdown_.Get();
  if (WSAWaitForMultipleEvents(1, &shutdown, FALSE, milliseconds, FALSE) == WSA_WAIT_FAILED) Sleep(milliseconds);
}

void Listener::End() {
  ended_ = true;
  const OScopedLock lock(endLock_);
  if (shutdown_) WSASetEvent(shutdown_.Get());
}

void Listener::Close() {
  const OScopedLock lock(endLock_);
  shutdown_.Reset();
  accept_.Reset();
  socket_.Reset();
}

}  // namespace portwise
