#pragma once

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "tests/support/peer_socket.h"

namespace portwise {

/// A TCP peer on loopback that does what a test tells it to, step by step in the test's own thread: connects succeed
/// before Accept, as far as the backlog goes. Waits end after two seconds.
class FakePrinter {
 public:
  /// A small `receiveBuffer` makes a peer that does not read felt soon; 0 is the system's own size.
  explicit FakePrinter(int receiveBuffer = 0) : receiveBuffer_(receiveBuffer) { Listen(); }
  ~FakePrinter() {
    Close();
    peer::Close(listener_);
  }
  FakePrinter(const FakePrinter&) = delete;
  FakePrinter& operator=(const FakePrinter&) = delete;

  std::uint16_t Port() const { return port_; }

  /// Connects are refused until Listen, and those that wait are reset; the port stays ours.
  void Refuse() {
    peer::Close(listener_);
    Bind();
  }
  void Listen() {
    if (listener_ == peer::kNone) Bind();
    if (::listen(listener_, 8) != 0) throw std::runtime_error("listen");
  }

  /// Takes the next connection in place of the one before. False when none waits.
  bool Accept(int milliseconds = kWait) {
    if (!peer::Readable(listener_, milliseconds)) return false;
    Close();
    connection_ = peer::Accept(listener_);
    return connection_ != peer::kNone;
  }

  /// What arrives until there are `size` bytes, the peer ends or nothing more comes; `ended` tells an orderly end.
  std::string Receive(std::size_t size, bool* ended = nullptr) {
    std::string all;
    char chunk[16384];
    while (all.size() < size && peer::Readable(connection_, kWait)) {
      const std::size_t wanted = std::min(sizeof chunk, size - all.size());
      const long received = peer::Receive(connection_, chunk, wanted);
      if (ended != nullptr) *ended = received == 0;
      if (received <= 0) break;
      all.append(chunk, static_cast<std::size_t>(received));
    }
    return all;
  }

  /// Bytes that have arrived and were not received; a megabyte at most.
  std::size_t Unread() const {
    if (!peer::Readable(connection_, 0)) return 0;
    std::string bytes(1 << 20, '\0');
    const long found = peer::Receive(connection_, bytes.data(), bytes.size(), MSG_PEEK);
    return found < 0 ? 0 : static_cast<std::size_t>(found);
  }

  void Send(const std::string& data) {
    if (!TrySend(data)) throw std::runtime_error("send");
  }
  /// False when the other side has closed the connection meanwhile.
  bool TrySend(const std::string& data) {
    return peer::Send(connection_, data.data(), data.size()) == static_cast<long>(data.size());
  }

  /// Says no more, and goes on listening.
  void EndSending() { peer::EndSending(connection_); }

  /// In order, unless something was left unread.
  void Close() {
    if (connection_ != peer::kNone) peer::Close(connection_);
    connection_ = peer::kNone;
  }

  void Reset() {
    peer::ResetWhenClosed(connection_);
    Close();
  }

 private:
  static constexpr int kWait = 2000;

  void Bind() {
    listener_ = peer::Open();
    peer::SetOption(listener_, SO_REUSEADDR, 1);
    if (receiveBuffer_ > 0) peer::SetOption(listener_, SO_RCVBUF, receiveBuffer_);
    port_ = static_cast<std::uint16_t>(peer::Bind(listener_, port_));
    if (port_ == 0) throw std::runtime_error("bind");
  }

  const int receiveBuffer_;
  peer::Socket listener_ = peer::kNone;
  peer::Socket connection_ = peer::kNone;
  std::uint16_t port_ = 0;
};

}  // namespace portwise
