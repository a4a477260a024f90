#include "printer/net.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <system_error>

namespace portwise::printer {

void ThrowErrno(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

UniqueFd BindLoopback(std::uint16_t port) {
  UniqueFd socket(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!socket) ThrowErrno("socket");
  const int reuse = 1;
  ::setsockopt(socket.Get(), SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (::bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) ThrowErrno("bind");
  return socket;
}

void Listen(int socket) {
  if (::listen(socket, SOMAXCONN) != 0) ThrowErrno("listen");
}

std::uint16_t PortOf(int socket) {
  sockaddr_in address = {};
  socklen_t size = sizeof address;
  if (::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0) ThrowErrno("getsockname");
  return ntohs(address.sin_port);
}

UniqueFd AcceptNext(int listener) {
  return UniqueFd(::accept4(listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
}

bool IsReadable(int socket) {
  pollfd state = {socket, POLLIN, 0};
  return ::poll(&state, 1, 0) > 0;
}

}  // namespace portwise::printer
