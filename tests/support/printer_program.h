#pragma once

#include <gtest/gtest.h>
#include <signal.h>

#include <cstdio>
#include <string>

#include "tests/support/peer_socket.h"

namespace portwise {

/// The simulated printer's program with a control client, while it lives. PORTWISE_PRINTER is its file.
class PrinterProgram {
 public:
  explicit PrinterProgram(const std::string& arguments) {
    program_ = ::popen(("echo $$; exec " PORTWISE_PRINTER " " + arguments).c_str(), "r");
    unsigned port = 0, control = 0;
    EXPECT_EQ(std::fscanf(program_, "%d ready %u %u", &process_, &port, &control), 3);
    port_ = static_cast<std::uint16_t>(port);
    control_ = Connect(static_cast<int>(control));
  }
  ~PrinterProgram() {
    ::close(control_);
    ::kill(process_, SIGTERM);
    EXPECT_EQ(::pclose(program_), 0);
  }
  PrinterProgram(const PrinterProgram&) = delete;
  PrinterProgram& operator=(const PrinterProgram&) = delete;

  std::uint16_t Port() const { return port_; }

  /// A connected socket, or -1.
  static int Connect(int port) {
    const int socket = peer::Open();
    const sockaddr_in address = peer::Loopback(static_cast<unsigned>(port));
    if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return socket;
    ::close(socket);
    return -1;
  }

  /// The control port's answer to an order.
  std::string Order(const std::string& order) {
    const std::string line = order + "\n";
    std::string answer;
    char unit = 0;
    if (::write(control_, line.data(), line.size()) < 0) return answer;
    while (::read(control_, &unit, 1) == 1 && unit != '\n') answer += unit;
    return answer;
  }

  /// What arrives up to an ETX, or in `milliseconds`.
  static std::string Receive(int socket, int milliseconds = 5000) {
    std::string received;
    char unit = 0;
    while (unit != '\x03' && peer::Readable(socket, milliseconds) && ::read(socket, &unit, 1) == 1) received += unit;
    return received;
  }

 private:
  FILE* program_ = nullptr;
  pid_t process_ = 0;
  std::uint16_t port_ = 0;
  int control_ = -1;
};

}  // namespace portwise
