#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <cstdio>
#include <thread>

#include "portwise/client.h"
#include "settings/registry.h"
#include "tests/support/fake_printer.h"
#include "tests/support/network_settings.h"
#include "tests/support/spooler_home.h"

namespace portwise::test {
namespace {

/// A server program while it lives.
class Server {
 public:
  explicit Server(const std::string& command) {
    program_ = popen(("echo $$; exec " + command).c_str(), "r");
    EXPECT_EQ(fscanf(program_, "%d", &process_), 1);
  }
  ~Server() {
    kill(process_, SIGTERM);
    pclose(program_);
  }
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  /// The number that it writes when it serves.
  unsigned ReadPort() {
    unsigned port = 0;
    EXPECT_EQ(fscanf(program_, "%u", &port), 1);
    return port;
  }

 private:
  FILE* program_;
  pid_t process_ = 0;
};

class Clients : public testing::Test {
 protected:
  Clients() { EXPECT_TRUE(home_.Start("dock", {"Labels", "More"})) << home_.Errors(); }
  static void Expect(const std::string& command, int code, const std::string& output) {
    const ProgramResult result = RunProgram(command);
    EXPECT_EQ(std::to_string(result.code) + result.output, std::to_string(code) + output) << command;
  }
  /// RunProgram begins with a program of ours.
  static std::string Python(const std::string& arguments) {
    return "portwise --help > /dev/null; python3 " PORTWISE_EXAMPLES "/ask_printer.py " + arguments;
  }

  SpoolerHome home_{"portwise.dll"};
};

TEST_F(Clients, AskAServiceThatOthersWrote) {
  Server service("python3 " PORTWISE_OTHER_SERVICE);
  const unsigned port = service.ReadPort();
  ConfigureNetworkService(port);
  Expect("portwise xpml Labels 'abc \xFF&='", 0, "=&\xFF cba");
  Expect("portwise xpml Labels abc --channel http", 0, "cba");
  Expect("portwise xpml Labels '<uppercase>abc</uppercase>' --channel stored", 0, "ABC");
  Expect("ask-printer Labels abc | tr '\\0' .", 0, "answered over HTTP\ncba.");
  Expect(Python("--port " + std::to_string(port) + " Labels 'a&=+ c'"), 0, "c +=&a");
  Expect(Python("--port " + std::to_string(port) + " More abc"), 1,
         "ask_printer: the service does not know the printer, or its port is not open\n");

  // A printer that the service does not have, one that does not exist, and no service at all.
  const std::string upper = " '<uppercase>abc</uppercase>'";
  Expect("portwise xpml More" + upper, 0, "ABC");
  Expect("ask-printer More" + upper, 0, "answered through the spooler\nABC");
  Expect("portwise xpml More x --channel http", 1,
         "portwise: the network service does not know printer More, or its port is not open\n");
  Expect("ask-printer Nobody x", 1, "ask-printer: no answer, error 1801\n");
  ConfigureNetworkService(FakePrinter().Port());
  ExpectRun("xpml Labels x --channel http", 1, "no network service answers for printer Labels: ");
  Expect("portwise xpml Labels" + upper, 0, "ABC");
  ConfigureNetworkService(0);
  ExpectRun("xpml Labels x --channel http", 1, "the settings of printer Labels close the way over the network");
}

TEST_F(Clients, AskThroughTheSpoolerManyAtOnce) {
  std::atomic<int> right = 0;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 8; ++thread) {
    threads.emplace_back([&, thread] {
      for (int i = 0; i < 20; ++i) {
        const std::string text = i == 0 ? "" : std::to_string(thread) + ":" + std::string(i * i * 200, 'a');
        PortwiseResponse* response = nullptr;
        const int answer = SendXPMLRequest(u"Labels", ("<lowercase>" + text + "</lowercase>").c_str(), &response);
        std::string reply(static_cast<size_t>(HTTPResponse_Size(response)), '\0');
        HTTPResponse_Data(response, reply.data());
        HTTPResponse_Free(response);
        right += answer == PORTWISE_ANSWERED_SPOOLER && reply == text;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(right, 160);
  OStringArray left;
  ORegistry().EnumValues("LOCAL:XPML", &left);
  EXPECT_EQ(left.Size(), 0) << "requests stay in the registry";
}

}  // namespace
}  // namespace portwise::test
