#pragma once

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <string>

namespace portwise {

/// A TCP peer on loopback that does what a test tells it to, step by step in the test's own thread: connects succeed
/// before Accept, as far as the backlog goes. Waits end after two seconds.
class FakePrinter {
 public:
  /// A small `receiveBuffer` makes a peer that does not read felt soon; 0 is the system's own size.
  explicit FakePrinter(int receiveBuffer = 0) : receiveBuffer_(receiveBuffer) { Listen(); }
  ~FakePrinter() {
    Close();
    ::close(listener_);
  }
  FakePrinter(const FakePrinter&) = delete;
  FakePrinter& operator=(const FakePrinter&) = delete;

  std::uint16_t Port() const { return port_; }

  /// Connects are refused until Listen, and those that wait are reset; the port stays ours.
  void Refuse() {
    ::close(listener_);
    Bind();
  }
  void Listen() {
    if (listener_ < 0) Bind();
    if (::listen(listener_, 8) != 0) throw std::runtime_error("listen");
  }

  /// Takes the next connection in place of the one before. False when none waits.
  bool Accept(int milliseconds = kWait) {
    if (!Readable(listener_, milliseconds)) return false;
    Close();
    connection_ = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    return connection_ >= 0;
  }

  /// What arrives until there are `size` bytes, the peer ends or nothing more comes; `ended` tells an orderly end.
  std::string Receive(std::size_t size, bool* ended = nullptr) {
    std::string all;
    char chunk[16384];
    while (all.size() < size && Readable(connection_, kWait)) {
      const std::size_t wanted = std::min(sizeof chunk, size - all.size());
      const ssize_t received = ::recv(connection_, static_cast<void*>(chunk), wanted, 0);
      if (ended != nullptr) *ended = received == 0;
      if (received <= 0) break;
      all.append(chunk, static_cast<std::size_t>(received));
    }
    return all;
  }

  /// Bytes that have arrived and were not received; a megabyte at most.
  std::size_t Unread() const {
    std::string bytes(1 << 20, '\0');
    const ssize_t found = ::recv(connection_, static_cast<void*>(bytes.data()), bytes.size(), MSG_PEEK | MSG_DONTWAIT);
    return found < 0 ? 0 : static_cast<std::size_t>(found);
  }

  void Send(const std::string& data) {
    if (!TrySend(data)) throw std::runtime_error("send");
  }
  /// False when the other side has closed the connection meanwhile.
  bool TrySend(const std::string& data) {
    return ::send(connection_, static_cast<const void*>(data.data()), data.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(data.size());
  }

  /// Says no more, and goes on listening.
  void EndSending() { ::shutdown(connection_, SHUT_WR); }

  /// In order, unless something was left unread.
  void Close() {
    if (connection_ >= 0) ::close(connection_);
    connection_ = -1;
  }

  void Reset() {
    const linger none = {1, 0};
    ::setsockopt(connection_, SOL_SOCKET, SO_LINGER, &none, sizeof none);
    Close();
  }

 private:
  static constexpr int kWait = 2000;

  static bool Readable(int socket, int milliseconds) {
    pollfd wait = {socket, POLLIN, 0};
    return ::poll(&wait, 1, milliseconds) > 0;
  }

  void Bind() {
    listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int reuse = 1;
    ::setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse);
    if (receiveBuffer_ > 0) ::setsockopt(listener_, SOL_SOCKET, SO_RCVBUF, &receiveBuffer_, sizeof receiveBuffer_);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port_);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (::bind(listener_, reinterpret_cast<const sockaddr*>(&address), size) != 0) throw std::runtime_error("bind");
    ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
    port_ = ntohs(address.sin_port);
  }

  const int receiveBuffer_;
  int listener_ = -1;
  int connection_ = -1;
  std::uint16_t port_ = 0;
};

}  // namespace portwise
