#include <gmock/gmock.h>

#include "core/computer_name.h"
#include "core/exception.h"
#include "monitor/net_mon_exception_handler.h"
#include "network/network_service_object.h"
#include "platform/eventlog/event_reader.h"
#include "platform/text.h"
#include "tests/support/faults.h"
#include "tests/support/monitor_fixture.h"
#include "tests/support/network_settings.h"
#include "tests/support/web_client.h"

namespace portwise {
namespace {

using testing::HasSubstr;
using testing::StartsWith;
using testing::UnorderedElementsAre;

class Service : public MonitorFixture {
 protected:
  ~Service() override {
    ShutdownNetworkService();
    SetNetworkService(nullptr);
  }

  static bool Answers(unsigned port) {
    WebClient client(0);
    return client.Connect(port) && client.Send("GET /tickcount HTTP/1.1\r\n\r\n").Read().starts_with("HTTP/1.1 200");
  }
  static std::vector<std::string> Events() {
    std::int64_t after = 0;
    std::vector<platform::Event> events;
    platform::ReadEvents(&after, {}, 100, &events);
    std::vector<std::string> texts;
    for (const auto& event : events) texts.push_back(event.source + ": " + platform::ToUtf8(event.strings.at(0)));
    return texts;
  }
  static int Bidirectional() {
    const OString path = "LOCAL:Network/@" + ComputerName() + "/Network Bidirectional";
    return ORegistry().GetValueInfo(path) ? ORegistry().GetBool(path, true) : -1;
  }
};

TEST_F(Service, RunsAsItsSettingsSay) {
  NetworkServiceObject& service = NetworkServiceObject::Instance();
  const unsigned port = test::FreePort();
  test::ConfigureNetworkService(port);
  test::SetNetworkSetting("TCP Enabled", 0, 1);
  StartNetworkService();
  EXPECT_FALSE(service.IsRunning());
  EXPECT_EQ(Bidirectional(), -1);

  // A port that is opened starts it; a start while it runs changes nothing.
  test::SetNetworkSetting("TCP Enabled", 1, 1);
  below_.table.pfnReadPort = nullptr;  // no status thread, which would ask the spooler as well
  const HANDLE handle = Open("Out");
  EXPECT_TRUE(Answers(port));
  EXPECT_EQ(service.BindAddress(), INADDR_LOOPBACK);
  EXPECT_EQ(Bidirectional(), 0);
  test::SetNetworkSetting("Network Communication", 1, 1);
  StartNetworkService();
  EXPECT_EQ(Bidirectional(), 0);

  // The spooler is asked to open a port that is not open, over which the answer would come.
  spooler_.printers["Labels"] = {"Later", ""};
  const std::string asked = "GET /xpml?printer=Labels&xpml=x HTTP/1.1\r\n\r\n";
  const int before = spooler_.orders["printer-data-get"];
  EXPECT_THAT(WebClient(port).Send(asked).Read(), StartsWith("HTTP/1.1 400"));
  EXPECT_GT(spooler_.orders["printer-data-get"], before);

  // A restart takes what the settings say then; who asks for it through the service has the answer.
  const unsigned other = test::FreePort();
  test::SetNetworkSetting("TCP Port", other, 4);
  const std::string reply =
      WebClient(port).Send("GET /xpml?printer=*&xpml=%3Cnetwork+action='restart'/%3E HTTP/1.1\r\n\r\n").Read();
  EXPECT_THAT(reply, StartsWith("HTTP/1.1 200 OK\r\n"));
  for (int i = 0; i < 500 && !Answers(other); ++i) Sleep(10);
  EXPECT_TRUE(Answers(other));
  EXPECT_FALSE(Answers(port));
  EXPECT_EQ(service.BindAddress(), 0u);
  EXPECT_EQ(Bidirectional(), 1);
  ShutdownNetworkService();
  EXPECT_FALSE(Answers(other));
  EXPECT_THAT(Events(), testing::IsEmpty());
  EXPECT_TRUE(lmClosePortW(handle));
}

TEST_F(Service, ARequestThatFailsInsideHasRunAndIsReported) {
  const unsigned port = test::FreePort();
  test::ConfigureNetworkService(port);
  StartNetworkService();
  const HANDLE handle = Open("Out");
  void (*fail)() = nullptr;
  below_.onWrite = [&](DWORD, DWORD*) -> BOOL {
    fail();
    return TRUE;
  };
  for (const auto failure : {ReadNull, +[] { throw std::runtime_error("Bad luck."); }}) {
    fail = failure;
    below_.output.clear();
    const std::string asked =
        "GET /xpml?printer=*&xpml=%3Cpacket%3E!%3C/packet%3E%3Cpacket%3E?%3C/packet%3E HTTP/1.1\r\n\r\n";
    EXPECT_THAT(WebClient(port).Send(asked).Read(),
                testing::AllOf(StartsWith("HTTP/1.1 500 "), HasSubstr("\r\nX-Request-Has-Run: yes\r\n")));
    EXPECT_EQ(below_.output, "!") << "what has arrived must not come again";
  }
  const auto reported =
      testing::AllOf(testing::Contains(HasSubstr("MiniDump File: ")), testing::Contains(HasSubstr("Bad luck.")));
  for (int i = 0; i < 500 && !testing::Value(Events(), reported); ++i) Sleep(10);
  EXPECT_THAT(Events(), reported);
  EXPECT_TRUE(lmClosePortW(handle)) << "nobody uses it any more";
}

TEST_F(Service, TellsTheEventLogOfAPortThatIsTakenAndOfGuardsWithoutAPort) {
  WebServerHTTP taker;
  const unsigned port = test::FreePort();
  ASSERT_TRUE(taker.Run(port, 0, INADDR_LOOPBACK));
  test::ConfigureNetworkService(port);
  for (int i = 0; i < 3; ++i) StartNetworkService();
  EXPECT_FALSE(NetworkServiceObject::Instance().IsRunning());
  NetMonExceptionHandler guard("test", NetMonExceptionHandler::kOperationFlags);
  RunGuarded(guard, []() -> BOOL { throw OException(4711, "It broke."); });
  EXPECT_THAT(Events(),
              UnorderedElementsAre(testing::AllOf(StartsWith("Corvane Print Monitor: "),
                                                  HasSubstr("cannot listen at TCP port " + std::to_string(port))),
                                   testing::AllOf(StartsWith("Corvane Print Monitor: "), HasSubstr("It broke."))));
  EXPECT_TRUE(taker.Shutdown());
  StartNetworkService();
  EXPECT_TRUE(Answers(port));
}

}  // namespace
}  // namespace portwise
