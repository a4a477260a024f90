#include "host/monitors/tcp_socket.h"

#include <mstcpip.h>

#include <algorithm>
#include <memory>
#include <utility>

#include "platform/test_clock.h"

namespace portwise {

using platform::ClockMilliseconds;

namespace {

constexpr DWORD kConnectTime = 10000;    // ms
constexpr long long kWaitSlice = 250;    // ms until a wait looks at the job
constexpr DWORD kLongestSend = 1 << 20;  // bytes

}  // namespace

TcpSocket::TcpSocket() {
  WSADATA data;
  WSAStartup(MAKEWORD(2, 2), &data);
}

TcpSocket::~TcpSocket() {
  Close();
  WSACleanup();
}

bool TcpSocket::Connect(const std::string& host, DWORD port, JobWatch* watch) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found) != 0) {
    WSASetLastError(WSAHOST_NOT_FOUND);
    return false;
  }
  const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> addresses(found, freeaddrinfo);
  for (const addrinfo* next = found; next; next = next->ai_next) {
    if (ConnectTo(*next, watch)) return true;
    const DWORD error = GetLastError();
    Close();
    SetLastError(error);
    if (error == ERROR_PRINT_CANCELLED) break;
  }
  return false;
}

bool TcpSocket::ConnectTo(const addrinfo& address, JobWatch* watch) {
  socket_ = WSASocketW(address.ai_family, SOCK_STREAM, IPPROTO_TCP, nullptr, 0, WSA_FLAG_OVERLAPPED);
  ULONG nonBlocking = 1;
  if (socket_ == INVALID_SOCKET || ioctlsocket(socket_, FIONBIO, &nonBlocking) != 0) return false;
  // A printer that is switched off while it has a job would otherwise never be missed.
  const DWORD keepAlive = 1;
  setsockopt(socket_, SOL_SOCKET, SO_KEEPALIVE, reinterpret_cast<const char*>(&keepAlive), sizeof(keepAlive));
  if (connect(socket_, address.ai_addr, static_cast<int>(address.ai_addrlen)) == 0) return true;
  if (WSAGetLastError() != WSAEWOULDBLOCK && WSAGetLastError() != WSAEINPROGRESS) return false;
  if (!Wait(POLLOUT, kConnectTime, watch)) return false;
  int error = 0;
  int size = sizeof(error);
  if (getsockopt(socket_, SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error), &size) != 0) return false;
  if (error != 0) WSASetLastError(error);
  return error == 0;
}

bool TcpSocket::Send(const void* data, DWORD size, DWORD milliseconds, JobWatch* watch, DWORD* sent) {
  const auto* bytes = static_cast<const char*>(data);
  const auto length = static_cast<int>(std::min(size, kLongestSend));
  int taken = send(socket_, bytes, length, 0);
  if (taken < 0 && WSAGetLastError() == WSAEWOULDBLOCK) {
    if (!Wait(POLLOUT, milliseconds, watch)) return false;
    taken = send(socket_, bytes, length, 0);
  }
  if (taken < 0) return false;
  *sent = static_cast<DWORD>(taken);
  sent_ += *sent;
  return true;
}

bool TcpSocket::Receive(void* buffer, DWORD size, DWORD milliseconds, JobWatch* watch, DWORD* received) {
  if (!Wait(POLLIN, milliseconds, watch)) return false;
  const int taken = recv(socket_, static_cast<char*>(buffer), static_cast<int>(std::min(size, kLongestSend)), 0);
  if (taken < 0) return false;
  *received = static_cast<DWORD>(taken);
  return true;
}

bool TcpSocket::EndSending() { return shutdown(socket_, SD_SEND) == 0; }

void TcpSocket::Reset() {
  const linger none = {1, 0};
  setsockopt(socket_, SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&none), sizeof none);
  Close();
}

bool TcpSocket::FinishSending(DWORD milliseconds, JobWatch* watch) {
  if (!EndSending()) return false;
  long long progressAt = ClockMilliseconds();
  ULONGLONG missing = Unacknowledged();
  bool closed = false;
  char dropped[1024];
  while (!closed || missing > 0) {
    DWORD received = 0;
    if (closed) {
      Sleep(static_cast<DWORD>(kWaitSlice));
    } else if (Receive(dropped, sizeof(dropped), static_cast<DWORD>(kWaitSlice), nullptr, &received)) {
      closed = received == 0;
    } else if (GetLastError() != WSAETIMEDOUT) {
      return false;
    }
    if (watch && watch->MustStop()) {
      SetLastError(ERROR_PRINT_CANCELLED);
      return false;
    }
    const ULONGLONG before = std::exchange(missing, Unacknowledged());
    if (missing < before) progressAt = ClockMilliseconds();
    if (ClockMilliseconds() - progressAt >= milliseconds) {
      WSASetLastError(WSAETIMEDOUT);
      return false;
    }
  }
  return true;
}

ULONGLONG TcpSocket::Unacknowledged() const {
  DWORD version = 0;
  DWORD size = 0;
  TCP_INFO_v0 info = {};
  if (WSAIoctl(socket_, SIO_TCP_INFO, &version, sizeof(version), &info, sizeof(info), &size, nullptr, nullptr) != 0) {
    return 0;
  }
  return sent_ - std::min<ULONGLONG>(sent_, info.BytesOut - info.BytesRetrans - info.BytesInFlight);
}

bool TcpSocket::Wait(SHORT events, DWORD milliseconds, JobWatch* watch) {
  const long long end = ClockMilliseconds() + milliseconds;
  while (true) {
    const long long left = std::max(end - ClockMilliseconds(), 0LL);
    WSAPOLLFD entry{socket_, events, 0};
    const int ready = WSAPoll(&entry, 1, static_cast<INT>(std::min(left, kWaitSlice)));
    if (ready != 0) return ready > 0;
    if (watch && watch->MustStop()) {
      SetLastError(ERROR_PRINT_CANCELLED);
      return false;
    }
    if (left == 0) {
      WSASetLastError(WSAETIMEDOUT);
      return false;
    }
  }
}

void TcpSocket::Close() {
  if (socket_ != INVALID_SOCKET) closesocket(socket_);
  socket_ = INVALID_SOCKET;
}

}  // namespace portwise
