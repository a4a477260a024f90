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
  int Connect(int port) { return PrinterProgram::Connect(port); }
  std::string Order(const std::string& order) { return printer_.Order(order); }
  /// Sends a request and returns the answer's text.
  std::string Ask(int socket, const std::string& request = "\x1b?ST\r\n") {
    EXPECT_EQ(::send(socket, request.data(), request.size(), MSG_NOSIGNAL), static_cast<ssize_t>(request.size()));
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
  EXPECT_EQ(::send(open, "still", 5, 0), 5);
  EXPECT_EQ(Order("wait-idle"), "ok");
  EXPECT_EQ(Record("0001.prn"), "still");
  EXPECT_THAT(Order("stats"), testing::StartsWith("ok jobs=0 bytes=5 open=1 buffered=0 dropped=0"));
  ::close(open);
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
      const std::string part = sent.substr(at, piece);
      ASSERT_EQ(::send(socket, part.data(), part.size(), 0), static_cast<ssize_t>(part.size()));
      ASSERT_EQ(Order("wait-idle"), "ok");
    }
    EXPECT_THAT(PrinterProgram::Receive(socket), testing::StartsWith("\x02ST "));
    EXPECT_THAT(PrinterProgram::Receive(socket), testing::StartsWith("\x02ST "));
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
  const struct {
    const char *order, *state, *waiting;
  } rows[] = {{"paper out", "ST S 01 7992", "2"}, {"head open", "ST S 02 7992", "2"}, {"offline", "ST S 04 8192", "0"}};
  int printed = 0;
  for (const auto& row : rows) {
    EXPECT_EQ(Order(row.order), "ok");
    const int job = Connect(port_);
    const std::string data = std::string(190, 'x') + "\x1b!PG0002\r\n";
    ASSERT_EQ(::send(job, data.data(), data.size(), 0), 200);
    Order("stats");  // carried out after what was sent before
    EXPECT_EQ(Ask(status), std::string(row.state) + " 8192 " + std::to_string(printed) + " " + row.waiting);
    EXPECT_EQ(Order("ready"), "ok");
    EXPECT_EQ(Order("wait-idle"), "ok");
    printed += 2;
    EXPECT_EQ(Ask(status), "ST R 00 8192 8192 " + std::to_string(printed) + " 0");
    ::close(job);
  }

  // Pages at their pace, twice as slow with little ribbon, until there is no paper.
  for (const char* order : {"page-time 40", "ribbon low", "paper 3", "unasked 1"}) EXPECT_EQ(Order(order), "ok");
  const auto start = std::chrono::steady_clock::now();
  const int job = Connect(port_);
  ASSERT_EQ(::send(job, "\x1b!PG0005\r\n", 10, 0), 10);
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
  ASSERT_EQ(::send(status, "\x1b?ST\r\n", 6, 0), 6);
  const std::string wrong = PrinterProgram::Receive(status);
  ASSERT_EQ(::send(status, "\x1b?ST\r\n", 6, 0), 6);
  const std::string right = PrinterProgram::Receive(status);
  EXPECT_EQ(wrong.substr(0, wrong.size() - 3), right.substr(0, right.size() - 3));
  EXPECT_NE(wrong, right);

  EXPECT_EQ(Order("silent 1"), "ok");
  ASSERT_EQ(::send(status, "\x1b?ST\r\n", 6, 0), 6);
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
