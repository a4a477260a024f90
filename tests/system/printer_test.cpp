#include <gmock/gmock.h>

#include <chrono>
#include <string>

#include "tests/support/files.h"
#include "tests/support/printer_program.h"
#include "tests/support/temporary_home.h"

namespace portwise {
namespace {

/// The program with a record folder and a small buffer.
class PrinterTest : public testing::Test {
 protected:
  static int Connect(int port) { return PrinterProgram::Connect(port); }
  static void Send(int socket, const std::string& data) {
    ASSERT_EQ(::send(socket, data.data(), data.size(), MSG_NOSIGNAL), static_cast<ssize_t>(data.size()));
  }
  std::string Order(const std::string& order) { return printer_.Order(order); }
  /// Sends a request and returns the answer's text.
  std::string Ask(int socket, const std::string& request = "\x1b?ST\r\n") {
    Send(socket, request);
    const std::string answer = PrinterProgram::Receive(socket);
    return answer.empty() ? answer : answer.substr(1, answer.rfind(';') - 1);
  }
  std::string Record(const std::string& name) { return ReadBytes(home_.Path() / "r" / name); }

  TemporaryHome home_;
  PrinterProgram printer_{"--buffer 8192 --record " + home_.Path().string() + "/r"};
  const int port_ = printer_.Port();
};

TEST_F(PrinterTest, LeavesOpenConnectionsAloneWhenItRefusesAndKnowsItsOrders) {
  const int open = Connect(port_);
  EXPECT_EQ(Order("refuse"), "ok");
  EXPECT_EQ(Connect(port_), -1);
  Send(open, "still");
  EXPECT_EQ(Order("wait-idle"), "ok");
  EXPECT_EQ(Record("0001.prn"), "still");
  EXPECT_THAT(Order("stats"), testing::StartsWith("ok jobs=0 bytes=5 open=1 buffered=0 dropped=0"));
  ::close(open);
  for (const char* order : {"", "bogus", "readying", "speed", "drop -1", "stats 3"})
    EXPECT_THAT(Order(order), testing::StartsWith("error ")) << order;
}

TEST_F(PrinterTest, TakesNoMoreAheadThanItsBufferHolds) {
  EXPECT_EQ(Order("speed 200000"), "ok");
  const std::string data(100000, 'x');
  const int socket = Connect(port_);
  const auto start = std::chrono::steady_clock::now();
  Send(socket, data);
  ::close(socket);
  EXPECT_EQ(Order("pause"), "ok");
  EXPECT_THAT(Order("stats"), testing::HasSubstr("jobs=0"));
  for (const char* order : {"resume", "wait-idle"}) EXPECT_EQ(Order(order), "ok");
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(490));
  EXPECT_EQ(Record("0001.prn"), data);
  EXPECT_THAT(Order("stats"), testing::HasSubstr("jobs=1 bytes=100000 open=0"));
}

TEST_F(PrinterTest, FindsItsCommandsWhereverTheDataAreCut) {
  const std::string request = "\x1b?ST\r\n";
  // Nearly commands; two requests; a block that holds a request and a page command; a page.
  const std::string sent = "\x1b\x1b?SX\r\n" + request + "ab" + "\x1b!DT0012\r\n" + request + "\x1b!PG0002\r\nxy" +
                           request + "c\x1b!PG000g\r\n\x1b!PG001F\r\n\x1b?S";
  const std::string data = "\x1b\x1b?SX\r\nab" + request + "\x1b!PG0002\r\nxyc\x1b!PG000g\r\n\x1b!PG001F\r\n\x1b?S";
  unsigned pages = 0;
  for (std::size_t piece : {1, 2, 3, 5, 7, 11, 100}) {
    const int socket = Connect(port_);
    for (std::size_t at = 0; at < sent.size(); at += piece) {
      Send(socket, sent.substr(at, piece));
      ASSERT_EQ(Order("wait-idle"), "ok");
    }
    for (int i = 0; i < 2; ++i) EXPECT_THAT(PrinterProgram::Receive(socket), testing::StartsWith("\x02ST "));
    ::shutdown(socket, SHUT_WR);
    EXPECT_EQ(PrinterProgram::Receive(socket), "");  // the printer closes when it has read all
    ::close(socket);
    pages += 33;
    char name[16];
    std::snprintf(name, sizeof name, "%04u.prn", pages / 33);
    EXPECT_EQ(Record(name), data) << piece;
    EXPECT_THAT(Order("stats"), testing::HasSubstr(" pages=" + std::to_string(pages) + " waiting=0 "));
  }
}

TEST_F(PrinterTest, ConditionsStopOrSlowThePrinting) {
  const int status = Connect(port_ + 1);
  EXPECT_EQ(Ask(status, "\x1b?ID\r\n"), "ID portwise-printer 1");
  for (const auto& [order, told, printed] : {std::tuple{"paper out", "ST S 01 7992 8192 0 2", 2},
                                             {"head open", "ST S 02 7992 8192 2 2", 4},
                                             {"offline", "ST S 04 8192 8192 4 0", 6}}) {
    EXPECT_EQ(Order(order), "ok");
    const int job = Connect(port_);
    Send(job, std::string(190, 'x') + "\x1b!PG0002\r\n");
    Order("stats");  // carried out after what was sent before
    EXPECT_EQ(Ask(status), told);
    for (const char* ends : {"ready", "wait-idle"}) EXPECT_EQ(Order(ends), "ok");
    EXPECT_EQ(Ask(status), "ST R 00 8192 8192 " + std::to_string(printed) + " 0");
    ::close(job);
  }

  // Pages at their pace, twice as slow with little ribbon, until there is no paper.
  for (const char* order : {"page-time 40", "ribbon low", "paper 3", "unasked 1"}) EXPECT_EQ(Order(order), "ok");
  const auto start = std::chrono::steady_clock::now();
  const int job = Connect(port_);
  Send(job, "\x1b!PG0005\r\n");
  EXPECT_EQ(PrinterProgram::Receive(status).substr(1, 7), "ST P 10");
  EXPECT_EQ(PrinterProgram::Receive(status).substr(1, 22), "ST S 11 8192 8192 9 2;");
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(235));
  ::close(job);
  ::close(status);
}

TEST_F(PrinterTest, AnswersAsBadlyAsItIsTold) {
  const int status = Connect(port_ + 1);
  const std::string good = Ask(status);
  for (const char* order : {"wrong 1", "silent 0"}) EXPECT_EQ(Order(order), "ok");
  Send(status, "\x1b?ST\r\n\x1b?ST\r\n");
  const std::string wrong = PrinterProgram::Receive(status), right = PrinterProgram::Receive(status);
  EXPECT_EQ(wrong.substr(0, wrong.size() - 3), right.substr(0, right.size() - 3));
  EXPECT_NE(wrong, right);

  EXPECT_EQ(Order("silent 1"), "ok");
  Send(status, "\x1b?ST\r\n");
  EXPECT_EQ(PrinterProgram::Receive(status, 100), "");
  for (const char* order : {"delay 100", "pieces 5"}) EXPECT_EQ(Order(order), "ok");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(Ask(status), good);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(180));  // five pieces at least
  EXPECT_EQ(Order("power off"), "ok");
  EXPECT_EQ(Connect(port_ + 1), -1);
  ::close(status);
}

}  // namespace
}  // namespace portwise
