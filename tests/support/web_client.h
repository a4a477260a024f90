#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace portwise {

/// A client on loopback that says what it likes, step by step in the test's own thread.
class WebClient {
 public:
  explicit WebClient(unsigned port, int receiveBuffer = 0) : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    if (receiveBuffer > 0) ::setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
    if (port != 0) Connect(port);
  }
  WebClient(WebClient&& other) noexcept : socket_(std::exchange(other.socket_, -1)) {}
  WebClient& operator=(WebClient&&) = delete;
  ~WebClient() {
    if (socket_ >= 0) ::close(socket_);
  }

  bool Connect(unsigned port) {
    sockaddr_in service = {};
    service.sin_family = AF_INET;
    service.sin_port = htons(static_cast<std::uint16_t>(port));
    service.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return ::connect(socket_, reinterpret_cast<const sockaddr*>(&service), sizeof service) == 0;
  }
  /// What does not go is left out.
  WebClient& Send(std::string_view bytes) {
    while (!bytes.empty()) {
      const ssize_t sent = ::send(socket_, static_cast<const void*>(bytes.data()), bytes.size(), MSG_NOSIGNAL);
      if (sent <= 0) break;
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return *this;
  }
  void Reset() {
    const linger now = {1, 0};
    ::setsockopt(socket_, SOL_SOCKET, SO_LINGER, &now, sizeof now);
    ::close(std::exchange(socket_, -1));
  }
  /// Ends its own side only.
  WebClient& EndSending() {
    ::shutdown(socket_, SHUT_WR);
    return *this;
  }
  /// All that comes until the connection ends; what it was then is at the end of it: nothing, " (reset)" or " (open)"
  /// when nothing more came for a while. With a pause it reads slowly.
  std::string Read(int milliseconds = 10000, int pause = 0) {
    std::string all;
    char chunk[65536];
    while (true) {
      if (!Waits(milliseconds)) return all + " (open)";
      const ssize_t size = ::recv(socket_, static_cast<void*>(chunk), sizeof chunk, 0);
      if (size == 0) return all;
      if (size < 0) return all + " (reset)";
      all.append(chunk, static_cast<std::size_t>(size));
      ::usleep(static_cast<useconds_t>(pause) * 1000);
    }
  }
  /// Whether bytes wait to be read, or the connection's end.
  bool Waits(int milliseconds) {
    pollfd ready = {socket_, POLLIN, 0};
    int result;
    do {
      result = ::poll(&ready, 1, milliseconds);
    } while (result < 0 && errno == EINTR);  // whoever writes a dump stops all threads for a moment
    return result > 0;
  }

 private:
  int socket_;
};

/// A response's body; the whole of it when it has no head.
inline std::string BodyOf(const std::string& response) {
  const auto head = response.find("\r\n\r\n");
  return head == response.npos ? response : response.substr(head + 4);
}

}  // namespace portwise
