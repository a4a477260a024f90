#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/support/temporary_home.h"

namespace portwise {
namespace {

/// The program with a record folder, a small buffer and a control client.
class PrinterTest : public testing::Test {
 protected:
  PrinterTest() {
    const std::string command =
        "echo $$; exec " PORTWISE_PRINTER " --buffer 8192 --record " + home_.Path().string() + "/r";
    program_ = ::popen(command.c_str(), "r");
    unsigned port = 0, control = 0;
    EXPECT_EQ(std::fscanf(program_, "%d ready %u %u", &process_, &port, &control), 3);
    port_ = static_cast<std::uint16_t>(port);
    control_ = Connect(static_cast<std::uint16_t>(control));
  }
  ~PrinterTest() override {
    ::close(control_);
    ::kill(process_, SIGTERM);
    EXPECT_EQ(::pclose(program_), 0);
  }

  /// A connected socket, or -1.
  static int Connect(std::uint16_t port) {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return socket;
    ::close(socket);
    return -1;
  }
  std::string Order(const std::string& order) {
    const std::string line = order + "\n";
    std::string answer;
    char unit = 0;
    if (::send(control_, line.data(), line.size(), MSG_NOSIGNAL) < 0) return answer;
    while (::recv(control_, &unit, 1, 0) == 1 && unit != '\n') answer += unit;
    return answer;
  }
  std::string Record(const char* name) {
    std::ifstream file(home_.Path() / "r" / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  TemporaryHome home_;
  FILE* program_ = nullptr;
  pid_t process_ = 0;
  std::uint16_t port_ = 0;
  int control_ = -1;
};

TEST_F(PrinterTest, RecordsExactlyWhatEachConnectionSent) {
  std::string data(3000000, '\0');
  for (std::size_t i = 0; i < data.size(); ++i) data[i] = static_cast<char>(i * 2654435761u >> 13);
  const int first = Connect(port_), second = Connect(port_);
  ASSERT_EQ(::send(second, "^second", 7, 0), 7);
  ASSERT_EQ(::send(first, data.data(), data.size(), 0), static_cast<ssize_t>(data.size()));
  ::close(first);
  EXPECT_EQ(Order("wait-idle"), "ok");
  EXPECT_THAT(Order("stats"), testing::StartsWith("ok jobs=1 bytes=3000007 open=1 buffered=0 dropped=0"));
  EXPECT_TRUE(Record("0001.prn") == data);
  EXPECT_EQ(Record("0002.prn"), "^second");
  ::close(second);
}

TEST_F(PrinterTest, FailsInTheWaysThatItIsTold) {
  char unit;
  for (const char* order : {"drop 5", "drop 0"}) {
    EXPECT_EQ(Order(order), "ok");
    const int socket = Connect(port_);
    // The reset may come before the data; the first call after it tells of it.
    EXPECT_TRUE(::send(socket, "abcdefgh", 8, MSG_NOSIGNAL) < 0 || ::recv(socket, &unit, 1, 0) < 0) << order;
    ::close(socket);
  }
  EXPECT_EQ(Record("0001.prn"), "abcde");
  EXPECT_EQ(Record("0002.prn"), "");

  const int open = Connect(port_);
  EXPECT_EQ(Order("refuse"), "ok");
  EXPECT_EQ(Connect(port_), -1);
  EXPECT_EQ(::send(open, "still", 5, 0), 5);
  EXPECT_EQ(Order("wait-idle"), "ok");
  EXPECT_EQ(Record("0003.prn"), "still");
  EXPECT_EQ(Order("power off"), "ok");
  EXPECT_EQ(::recv(open, &unit, 1, 0), -1);
  ::close(open);
  EXPECT_EQ(Order("ready"), "ok");
  EXPECT_NE(Connect(port_), -1);
  for (const char* order : {"", "bogus", "readying", "speed", "drop -1", "stats 3"}) {
    EXPECT_THAT(Order(order), testing::StartsWith("error ")) << order;
  }
}

TEST_F(PrinterTest, TakesNoMoreAheadThanItsBufferHolds) {
  EXPECT_EQ(Order("speed 200000"), "ok");
  const std::string data(100000, 'x');
  const int socket = Connect(port_);
  const auto start = std::chrono::steady_clock::now();
  ASSERT_EQ(::send(socket, data.data(), data.size(), 0), 100000);
  ::close(socket);
  EXPECT_EQ(Order("pause"), "ok");
  EXPECT_THAT(Order("stats"), testing::HasSubstr("jobs=0"));
  EXPECT_EQ(Order("resume"), "ok");
  EXPECT_EQ(Order("wait-idle"), "ok");
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(490));
  EXPECT_EQ(Record("0001.prn"), data);
}

}  // namespace
}  // namespace portwise
