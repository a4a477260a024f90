#pragma once

#ifdef _WIN32
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

#include <cerrno>
#include <cstddef>
#include <cstdint>

/// The system's own sockets, for the peers of what is tested: on Linux not those of the platform layer.
namespace portwise::peer {

#ifdef _WIN32
using Socket = SOCKET;
inline constexpr Socket kNone = INVALID_SOCKET;

inline Socket Open() {
  static const int ready = [] {
    WSADATA data;
    return ::WSAStartup(MAKEWORD(2, 2), &data);
  }();
  return ready == 0 ? ::socket(AF_INET, SOCK_STREAM, 0) : kNone;
}
inline void Close(Socket socket) { ::closesocket(socket); }
inline Socket Accept(Socket listener) { return ::accept(listener, nullptr, nullptr); }
inline long Send(Socket socket, const void* data, std::size_t size) {
  return ::send(socket, static_cast<const char*>(data), static_cast<int>(size), 0);
}
inline long Receive(Socket socket, void* data, std::size_t size, int flags = 0) {
  return ::recv(socket, static_cast<char*>(data), static_cast<int>(size), flags);
}
inline void EndSending(Socket socket) { ::shutdown(socket, SD_SEND); }
inline bool Readable(Socket socket, int milliseconds) {
  fd_set sockets;
  FD_ZERO(&sockets);
  FD_SET(socket, &sockets);
  timeval time = {milliseconds / 1000, milliseconds % 1000 * 1000};
  return ::select(0, &sockets, nullptr, nullptr, &time) > 0;
}
#else
using Socket = int;
inline constexpr Socket kNone = -1;

inline Socket Open() { return ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0); }
inline void Close(Socket socket) { ::close(socket); }
inline Socket Accept(Socket listener) { return ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC); }
inline long Send(Socket socket, const void* data, std::size_t size) { return ::send(socket, data, size, MSG_NOSIGNAL); }
inline long Receive(Socket socket, void* data, std::size_t size, int flags = 0) {
  return ::recv(socket, data, size, flags);
}
inline void EndSending(Socket socket) { ::shutdown(socket, SHUT_WR); }
inline bool Readable(Socket socket, int milliseconds) {
  pollfd wait = {socket, POLLIN, 0};
  int result;
  do {
    result = ::poll(&wait, 1, milliseconds);
  } while (result < 0 && errno == EINTR);  // whoever writes a dump stops all threads for a moment
  return result > 0;
}
#endif

template <class Value>
void SetOption(Socket socket, int option, const Value& value) {
#ifdef _WIN32
  ::setsockopt(socket, SOL_SOCKET, option, reinterpret_cast<const char*>(&value), sizeof value);
#else
  ::setsockopt(socket, SOL_SOCKET, option, static_cast<const void*>(&value), sizeof value);
#endif
}

/// The next close resets the connection.
inline void ResetWhenClosed(Socket socket) {
  const linger now = {1, 0};
  SetOption(socket, SO_LINGER, now);
}

inline sockaddr_in Loopback(unsigned port) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

/// Binds to the port of loopback, any for 0; the port, or 0 when it is taken.
inline unsigned Bind(Socket socket, unsigned port) {
  sockaddr_in address = Loopback(port);
  socklen_t size = sizeof address;
  if (::bind(socket, reinterpret_cast<const sockaddr*>(&address), size) != 0) return 0;
  ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size);
  return ntohs(address.sin_port);
}

}  // namespace portwise::peer
