#include <winsock2.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstring>
#include <vector>

#include "platform/sockets/descriptor.h"
#include "platform/sockets/event_selection.h"
#include "platform/sockets/socket_errors.h"
#include "platform/test_clock.h"

namespace portwise::platform {
namespace {

constexpr WORD kVersion = MAKEWORD(2, 2);

/// SYN segments sent again before a connect gives up: about 15 seconds in all. The system's own default, more than
/// two minutes, is far from what Winsock's callers are used to.
constexpr int kConnectRetries = 3;

std::atomic<int> startups = 0;

bool IsNonBlocking(int descriptor) { return (::fcntl(descriptor, F_GETFL) & O_NONBLOCK) != 0; }

/// The system tells a broken pipe after a shutdown of our own, after a reset that it has reported once, and on a
/// socket that never was connected.
int BrokenPipeError(int descriptor) {
  tcp_info info = {};
  socklen_t size = sizeof info;
  if (::getsockopt(descriptor, IPPROTO_TCP, TCP_INFO, &info, &size) != 0 || info.tcpi_state != TCP_CLOSE) {
    return WSAESHUTDOWN;
  }
  pollfd state = {descriptor, POLLRDHUP, 0};
  return ::poll(&state, 1, 0) > 0 && (state.revents & POLLRDHUP) != 0 ? WSAECONNRESET : WSAENOTCONN;
}

/// What a transfer that failed with `error` reports; a blocking socket only runs out of time.
int TransferError(int descriptor, int error) {
  if (error == EAGAIN && !IsNonBlocking(descriptor)) return WSAETIMEDOUT;
  return error == EPIPE ? BrokenPipeError(descriptor) : SocketErrorOf(error);
}

/// Waits for a blocking connect that has returned too early; it goes on by itself.
int FinishConnect(int descriptor) {
  pollfd wait = {descriptor, POLLOUT, 0};
  while (::poll(&wait, 1, -1) < 0 && errno == EINTR) {
  }
  int error = 0;
  socklen_t size = sizeof error;
  if (::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size) != 0) return -1;
  errno = error;
  return error == 0 ? 0 : -1;
}

/// The unspecified address and port 0 name no peer; the system would take the first for this machine.
bool NamesPeer(const sockaddr* address, int length) {
  if (address == nullptr || length < static_cast<int>(sizeof(sockaddr_in)) || address->sa_family != AF_INET)
    return true;
  const auto* internet = reinterpret_cast<const sockaddr_in*>(address);
  return internet->sin_addr.s_addr != INADDR_ANY && internet->sin_port != 0;
}

bool IsTimeout(int level, int name) { return level == SOL_SOCKET && (name == SO_RCVTIMEO || name == SO_SNDTIMEO); }

timeval RealTimeval(DWORD milliseconds) {
  const auto real = std::chrono::duration_cast<std::chrono::microseconds>(RealTime(milliseconds)).count();
  return {static_cast<time_t>(real / 1000000), static_cast<suseconds_t>(real % 1000000)};
}

DWORD ClockMillisecondsOf(const timeval& real) {
  const double milliseconds = static_cast<double>(real.tv_sec) * 1000 + static_cast<double>(real.tv_usec) / 1000;
  return static_cast<DWORD>(std::lround(milliseconds * TimeScale()));
}

}  // namespace

bool RequireWinsock() {
  if (startups.load(std::memory_order_acquire) > 0) return true;
  SetLastError(WSANOTINITIALISED);
  return false;
}

int DescriptorOf(SOCKET socket) {
  if (!RequireWinsock()) return -1;
  if (socket <= INT_MAX) return static_cast<int>(socket);
  SetLastError(WSAENOTSOCK);
  return -1;
}

}  // namespace portwise::platform

using namespace portwise::platform;

int WINAPI WSAStartup(WORD version, WSADATA* data) {
  if (data == nullptr) return WSAEFAULT;
  const int major = version & 0xff;
  if (major == 0) return WSAVERNOTSUPPORTED;
  const int minor = version >> 8;
  data->wHighVersion = kVersion;
  data->wVersion = major > 2 || (major == 2 && minor > 2) ? kVersion : version;
  startups.fetch_add(1, std::memory_order_acq_rel);
  return 0;
}

/// Sockets that are open at the last call stay open, and are usable again after the next start.
int WINAPI WSACleanup() {
  int count = startups.load(std::memory_order_acquire);
  while (count > 0 && !startups.compare_exchange_weak(count, count - 1, std::memory_order_acq_rel)) {
  }
  return count > 0 ? 0 : FailSocketCall(WSANOTINITIALISED);
}

int WINAPI WSAGetLastError() { return static_cast<int>(GetLastError()); }

void WINAPI WSASetLastError(int error) { SetLastError(static_cast<DWORD>(error)); }

SOCKET WINAPI WSASocketW(int family, int type, int protocol, void*, unsigned, DWORD) {
  if (!RequireWinsock()) return INVALID_SOCKET;
  const int descriptor = ::socket(family, type | SOCK_CLOEXEC, protocol);
  if (descriptor < 0) {
    FailSocketCall(SocketErrorOf(errno));
    return INVALID_SOCKET;
  }
  if (type == SOCK_STREAM && (family == AF_INET || family == AF_INET6)) {
    ::setsockopt(descriptor, IPPROTO_TCP, TCP_SYNCNT, &kConnectRetries, sizeof kConnectRetries);
  }
  return static_cast<SOCKET>(descriptor);
}

WSAEVENT WINAPI WSACreateEvent() { return RequireWinsock() ? CreateEventW(nullptr, TRUE, FALSE, nullptr) : nullptr; }

BOOL WINAPI WSACloseEvent(WSAEVENT event) { return RequireWinsock() ? CloseHandle(event) : FALSE; }

BOOL WINAPI WSASetEvent(WSAEVENT event) { return RequireWinsock() ? SetEvent(event) : FALSE; }

BOOL WINAPI WSAResetEvent(WSAEVENT event) { return RequireWinsock() ? ResetEvent(event) : FALSE; }

DWORD WINAPI WSAWaitForMultipleEvents(DWORD count, const WSAEVENT* events, BOOL waitAll, DWORD milliseconds, BOOL) {
  if (!RequireWinsock()) return WSA_WAIT_FAILED;
  return WaitForMultipleObjects(count, events, waitAll, milliseconds);
}

int WINAPI WSAPoll(WSAPOLLFD* sockets, ULONG count, INT milliseconds) {
  if (!RequireWinsock()) return SOCKET_ERROR;
  if (sockets == nullptr) return FailSocketCall(WSAEFAULT);
  if (count == 0) return FailSocketCall(WSAEINVAL);
  std::vector<pollfd> polled(count);
  for (ULONG i = 0; i < count; ++i) {
    polled[i] = {sockets[i].fd <= INT_MAX ? static_cast<int>(sockets[i].fd) : -1, sockets[i].events, 0};
    // A peer that has ended its side is told, as POLLHUP, to those who wait for its data.
    if ((sockets[i].events & POLLIN) != 0) polled[i].events |= POLLRDHUP;
  }
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + (milliseconds > 0 ? RealTime(milliseconds) : std::chrono::nanoseconds(0));
  int ready;
  while (true) {
    const auto left = std::max(std::chrono::nanoseconds(deadline - Clock::now()), std::chrono::nanoseconds(0)).count();
    const timespec wait = {static_cast<time_t>(left / 1000000000), static_cast<long>(left % 1000000000)};
    ready = ::ppoll(polled.data(), count, milliseconds < 0 ? nullptr : &wait, nullptr);
    if (ready >= 0) break;
    if (errno != EINTR) return FailSocketCall(SocketErrorOf(errno));
  }
  for (ULONG i = 0; i < count; ++i) {
    sockets[i].revents = static_cast<SHORT>(polled[i].revents & ~POLLRDHUP);
    if ((polled[i].revents & POLLRDHUP) != 0) sockets[i].revents |= POLLHUP;
  }
  return ready;
}

int WINAPI closesocket(SOCKET socket) {
  const int descriptor = DescriptorOf(socket);
  if (descriptor < 0) return SOCKET_ERROR;
  linger option = {};
  socklen_t size = sizeof option;
  if (::getsockopt(descriptor, SOL_SOCKET, SO_LINGER, &option, &size) != 0) return FailSocketCall(SocketErrorOf(errno));
  EndSelection(descriptor);
  // Closing alone would leave threads that wait in a call on the socket waiting.
  if (option.l_onoff != 0 && option.l_linger == 0) {  // the peer is to see a reset instead of an orderly end
    const sockaddr none = {AF_UNSPEC, {}};
    ::connect(descriptor, &none, sizeof none);
  } else {
    ::shutdown(descriptor, SHUT_RDWR);
  }
  ::close(descriptor);
  return 0;
}

int WINAPI ioctlsocket(SOCKET socket, LONG command, ULONG* argument) {
  const int descriptor = DescriptorOf(socket);
  if (descriptor < 0) return SOCKET_ERROR;
  if (static_cast<DWORD>(command) != FIONBIO) return FailSocketCall(WSAEOPNOTSUPP);
  if (argument == nullptr) return FailSocketCall(WSAEFAULT);
  if (*argument == 0 && FindSelection(descriptor) != nullptr) return FailSocketCall(WSAEINVAL);
  int type = 0;
  socklen_t size = sizeof type;
  if (::getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) != 0) return FailSocketCall(SocketErrorOf(errno));
  const int flags = ::fcntl(descriptor, F_GETFL);
  const int wanted = *argument != 0 ? flags | O_NONBLOCK : flags & ~O_NONBLOCK;
  if (flags < 0 || ::fcntl(descriptor, F_SETFL, wanted) < 0) return FailSocketCall(SocketErrorOf(errno));
  return 0;
}

int connect(SOCKET socket, const sockaddr* address, int length) {
  const int descriptor = DescriptorOf(socket);
  if (descriptor < 0) return SOCKET_ERROR;
  if (!NamesPeer(address, length)) return FailSocketCall(WSAEADDRNOTAVAIL);
  int result = ::connect(descriptor, address, static_cast<socklen_t>(length));
  // A signal ends the system's wait, and so does the time that a send may take, which Winsock has for sends alone.
  if (result != 0 && (errno == EINTR || (errno == EINPROGRESS && !IsNonBlocking(descriptor)))) {
    result = FinishConnect(descriptor);
  }
  // Under way, which Winsock does not tell from done when the socket does not block.
  const bool underWay = result != 0 && errno == EINPROGRESS;
  const int code = underWay ? WSAEWOULDBLOCK : SocketErrorOf(errno);
  if (result == 0 || underWay) {
    if (const auto selection = FindSelection(descriptor)) selection->OnConnect();
  }
  return result == 0 ? 0 : FailSocketCall(code);
}

int bind(SOCKET socket, const sockaddr* address, int length) {
  const int descriptor = DescriptorOf(socket);
  if (descriptor < 0) return SOCKET_ERROR;
  if (address == nullptr || length < 0) return FailSocketCall(WSAEFAULT);
  constexpr int kReuse = 1;
  ::setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &kReuse, sizeof kReuse);
  return ::bind(descriptor, address, static_cast<socklen_t>(length)) == 0 ? 0 : FailSocketCall(SocketErrorOf(errno));
}

int listen(SOCKET socket, int backlog) {
  const int descriptor = DescriptorOf(socket);
  if (descriptor < 0) return SOCKET_ERROR;
  sockaddr_storage own;
  socklen_t size = sizeof own;
  // The system would choose a port.
  if (::getsockname(descriptor, reinterpret_cast<sockaddr*>(&own), &size) == 0 && own.ss_family == AF_INET &&
      reinterpret_cast<const sockaddr_in&>(own).sin_port == 0) {
    return FailSocketCall(WSAEINVAL);
  }
  if (::listen(descriptor, backlog) != 0) return FailSocketCall(SocketErrorOf(errno));
  if (const auto selection = FindSelection(descriptor)) selection->OnListen();
  return 0;
}

SOCKET WINAPI WSAAccept(SOCKET socket, sockaddr* address, int* length, LPCONDITIONPROC condition, DWORD_PTR) {
  const auto fail = [](int code) {
    FailSocketCall(code);
    return INVALID_SOCKET;
  };
  const int descriptor = DescriptorOf(socket);
  if (descriptor < 0) return INVALID_SOCKET;
  if (condition != nullptr) return fail(WSAEOPNOTSUPP);
  if (address != nullptr && (length == nullptr || *length < 0)) return fail(WSAEFAULT);
  auto size = static_cast<socklen_t>(length != nullptr ? *length : 0);
  const auto selection = FindSelection(descriptor);
  const int flags = SOCK_CLOEXEC | (selection || IsNonBlocking(descriptor) ? SOCK_NONBLOCK : 0);
  int accepted;
  do {
    accepted = ::accept4(descriptor, address, address != nullptr ? &size : nullptr, flags);
  } while (accepted < 0 && errno == EINTR);
  const int error = errno;
  if (selection) selection->OnAccept();
  // The peer has given up while it waited.
  if (accepted < 0) return fail(error == ECONNABORTED || error == EPROTO ? WSAECONNRESET : SocketErrorOf(error));
  if (address != nullptr) *length = static_cast<int>(size);
  // Nothing is ever accepted from a connection.
  const LONG inherited = selection ? selection->Events() & ~FD_ACCEPT : 0;
  if (inherited == 0 || BeginSelection(accepted, selection->Event(), inherited) == 0) {
    return static_cast<SOCKET>(accepted);
  }
  ::close(accepted);
  return INVALID_SOCKET;
}

int send(SOCKET socket, const char* data, int length, int flags) {
  const int descriptor = DescriptorOf(socket);
  if (descriptor < 0) return SOCKET_ERROR;
  if (length < 0) return FailSocketCall(WSAEFAULT);
  ssize_t sent;
  do {
    sent = ::send(descriptor, static_cast<const void*>(data), static_cast<std::size_t>(length), flags | MSG_NOSIGNAL);
  } while (sent < 0 && errno == EINTR);
  if (sent >= 0) return static_cast<int>(sent);
  const int code = TransferError(descriptor, errno);
  if (code == WSAEWOULDBLOCK) {
    if (const auto selection = FindSelection(descriptor)) selection->OnSendBlocked();
  }
  return FailSocketCall(code);
}

int recv(SOCKET socket, char* data, int length, int flags) {
  const int descriptor = DescriptorOf(socket);
  if (descriptor < 0) return SOCKET_ERROR;
  if (length < 0) return FailSocketCall(WSAEFAULT);
  ssize_t received;
  do {
    received = ::recv(descriptor, static_cast<void*>(data), static_cast<std::size_t>(length), flags);
  } while (received < 0 && errno == EINTR);
  int code = received < 0 ? TransferError(descriptor, errno) : 0;
  if (const auto selection = FindSelection(descriptor)) {
    if (received == 0 && length > 0) code = selection->CloseError();
    selection->OnReceive();
  }
  return code == 0 ? static_cast<int>(received) : FailSocketCall(code);
}

int shutdown(SOCKET socket, int how) {
  const int descriptor = DescriptorOf(socket);
  if (descriptor < 0) return SOCKET_ERROR;
  return ::shutdown(descriptor, how) == 0 ? 0 : FailSocketCall(SocketErrorOf(errno));
}

int setsockopt(SOCKET socket, int level, int name, const char* value, int length) {
  const int descriptor = DescriptorOf(socket);
  if (descriptor < 0) return SOCKET_ERROR;
  if (value == nullptr || length < 0) return FailSocketCall(WSAEFAULT);
  timeval timeout;
  const void* option = value;
  auto size = static_cast<socklen_t>(length);
  if (IsTimeout(level, name)) {
    DWORD milliseconds;
    if (size < sizeof milliseconds) return FailSocketCall(WSAEFAULT);
    std::memcpy(&milliseconds, value, sizeof milliseconds);
    timeout = RealTimeval(milliseconds);
    option = &timeout;
    size = sizeof timeout;
  }
  return ::setsockopt(descriptor, level, name, option, size) == 0 ? 0 : FailSocketCall(SocketErrorOf(errno));
}

int getsockopt(SOCKET socket, int level, int name, char* value, int* length) {
  const int descriptor = DescriptorOf(socket);
  if (descriptor < 0) return SOCKET_ERROR;
  if (value == nullptr || length == nullptr || *length < 0) return FailSocketCall(WSAEFAULT);
  timeval timeout = {};
  const bool isTimeout = IsTimeout(level, name);
  if (isTimeout && *length < static_cast<int>(sizeof(DWORD))) return FailSocketCall(WSAEFAULT);
  auto size = isTimeout ? static_cast<socklen_t>(sizeof timeout) : static_cast<socklen_t>(*length);
  if (::getsockopt(descriptor, level, name, isTimeout ? static_cast<void*>(&timeout) : value, &size) != 0) {
    return FailSocketCall(SocketErrorOf(errno));
  }
  *length = static_cast<int>(size);
  if (isTimeout) {
    const DWORD milliseconds = ClockMillisecondsOf(timeout);
    std::memcpy(value, &milliseconds, sizeof milliseconds);
    *length = sizeof milliseconds;
  } else if (level == SOL_SOCKET && name == SO_ERROR && size == sizeof(int)) {
    int error;
    std::memcpy(&error, value, sizeof error);
    if (error != 0) error = SocketErrorOf(error);
    std::memcpy(value, &error, sizeof error);
  }
  return 0;
}
