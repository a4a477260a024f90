#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include "tests/support/peer_socket.h"

namespace portwise {

/// A client on loopback that says what it likes, step by step in the test's own thread.
class WebClient {
 public:
  explicit WebClient(unsigned port, int receiveBuffer = 0) : socket_(peer::Open()) {
    if (receiveBuffer > 0) peer::SetOption(socket_, SO_RCVBUF, receiveBuffer);
    if (port != 0) Connect(port);
  }
  WebClient(WebClient&& other) noexcept : socket_(std::exchange(other.socket_, peer::kNone)) {}
  WebClient& operator=(WebClient&&) = delete;
  ~WebClient() {
    if (socket_ != peer::kNone) peer::Close(socket_);
  }

  bool Connect(unsigned port) {
    const sockaddr_in service = peer::Loopback(port);
    return ::connect(socket_, reinterpret_cast<const sockaddr*>(&service), sizeof service) == 0;
  }
  /// What does not go is left out.
  WebClient& Send(std::string_view bytes) {
    while (!bytes.empty()) {
      const long sent = peer::Send(socket_, bytes.data(), bytes.size());
      if (sent <= 0) break;
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return *this;
  }
  void Reset() {
    peer::ResetWhenClosed(socket_);
    peer::Close(std::exchange(socket_, peer::kNone));
  }
  /// Ends its own side only.
  WebClient& EndSending() {
    peer::EndSending(socket_);
    return *this;
  }
  /// All that comes until the connection ends; what it was then is at the end of it: nothing, " (reset)" or " (open)"
  /// when nothing more came for a while. With a pause it reads slowly.
  std::string Read(int milliseconds = 10000, int pause = 0) {
    std::string all;
    char chunk[65536];
    while (true) {
      if (!Waits(milliseconds)) return all + " (open)";
      const long size = peer::Receive(socket_, chunk, sizeof chunk);
      if (size == 0) return all;
      if (size < 0) return all + " (reset)";
      all.append(chunk, static_cast<std::size_t>(size));
      std::this_thread::sleep_for(std::chrono::milliseconds(pause));
    }
  }
  /// Whether bytes wait to be read, or the connection's end.
  bool Waits(int milliseconds) { return peer::Readable(socket_, milliseconds); }

 private:
  peer::Socket socket_;
};

/// A response's body; the whole of it when it has no head.
inline std::string BodyOf(const std::string& response) {
  const auto head = response.find("\r\n\r\n");
  return head == response.npos ? response : response.substr(head + 4);
}

}  // namespace portwise
