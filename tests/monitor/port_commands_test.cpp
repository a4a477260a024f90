#include <gmock/gmock.h>

#include "core/hex.h"
#include "monitor/network_service.h"
#include "tests/support/fake_job_monitor.h"
#include "tests/support/fake_plugins.h"
#include "tests/support/monitor_fixture.h"
#include "tests/support/print_ostring.h"
#include "tests/support/wine.h"
#include "tests/support/xpml_examples.h"
#include "xpml/port/length_text.h"

namespace portwise {
namespace {

TEST(LengthText, ReadsNumbersWithTheirUnits) {
  const std::pair<const char*, LONGLONG> lengths[] = {
      // in 0.0001 mm
      {"1in", 254000},
      {"1.5INCHES", 381000},
      {"0.0019in", 254},
      {"2.12345mm", 21230},
      {"-1.5cm", -150000},
      {"0.00019cm", 10},
      {"2.9mils", 508},
      {"1Points", 3527},
      {"1.2.3mm", 12000},
      {"+.5mm", 5000},
      {"99999999999999999999in", 254000000000},
  };
  for (const auto& [text, length] : lengths) EXPECT_EQ(ReadLength(text), length) << text;
  for (const char* text : {"mm", "5", "5 mm", "5ptx", "5mmm", "", "1e3mm", "-mm"})
    EXPECT_EQ(ReadLength(text), 0) << text;
}

/// Requests to a serial port, whose status monitor and plug-in the test scripts.
class PortCommands : public MonitorFixture {
 protected:
  PortCommands() {
    spooler_.printers["Labels"] = {"COM1:", ""};
    spooler_.printers["B\u00fcro"] = {"COM1:", ""};
    handle_ = Open("COM1:");
    port_ = static_cast<PortContext*>(handle_);
    monitor_ = std::make_unique<FakeJobMonitor>(port_->Events(), port_->DocumentLock());
    plugin_.statusKinds = static_cast<DWORD>(ConnectionKind::Com);
    port_->SetMonitor(*monitor_, plugin_);
    port_->SetPrinterName("Labels");
  }
  ~PortCommands() override {
    monitor_->Stop();
    EXPECT_TRUE(lmClosePortW(handle_));
  }
  std::string Ask(const std::string& request, PortContext* port = nullptr) {
    TextBuffer reply;
    (port ? port : port_)->ExecuteRequest(request, reply);
    return std::string(reply.View());
  }
  struct Case {
    std::string request;
    std::string reply;
  };
  void Expect(const std::vector<Case>& cases) {
    for (const Case& each : cases) EXPECT_EQ(Ask(each.request), each.reply) << each.request;
  }
  std::string Settings(const std::string& request) {
    return Ask("<settings action='request'>" + request + "</settings>");
  }

  HANDLE handle_ = nullptr;
  PortContext* port_ = nullptr;
  std::unique_ptr<FakeJobMonitor> monitor_;
  FakeMonitorInterface plugin_;
};

TEST_F(PortCommands, StateAppendsWhatIsAsked) {
  monitor_->SetStatuses({0x10001});
  port_->Events().RequestStatus(2000);
  ORegistry().SetBool("PRINT:Printers/Labels/PrinterDriverData/Security/Configuration Sharing", false);
  const auto ask = [this](const std::string& attributes) { return Ask("<state " + attributes + ">c</state>"); };
  const Case cases[] = {
      {"name='Status Code' action='get'", "c00010001"},
      {"name='STATUS code' action='GET'", "c00010001"},
      {"name='Status' action='get'", "cOut of Paper"},
      {"name='Status' action='get' language='enu'", "cOut of Paper"},
      {"name='Status Severity' action='get'", "c2"},
      {"name='Monitoring Supported' action='get'", "c1"},
      {"name='Configuration Sharing' action='get'", "c0"},
      {"name='Status Code' action='set'", "c"},
      {"name='Nothing' action='get'", "c"},
      {"action='get'", "c"},
  };
  for (const Case& each : cases) EXPECT_EQ(ask(each.request), each.reply) << each.request;
  EXPECT_EQ(monitor_->TakeJournal().back(), "status read") << "or nobody would ask the printer";
  EXPECT_GT(ask("name='OS' action='get'").size(), 1u);
  plugin_.statusKinds = 0;
  EXPECT_EQ(ask("name='Monitoring Supported' action='get'"), "c0");
  EXPECT_EQ(ask("name='Status' action='get'"), "cMonitoring Not Supported");
  EXPECT_EQ(ask("name='Status Code' action='get'"), "c10000001");
}

/// A parallel port whose driver answers, or does not.
bool driverFails = false;
BOOL WINAPI AnswerForDriver(HANDLE, DWORD control, LPWSTR name, LPWSTR in, DWORD inSize, LPWSTR out, DWORD outSize,
                            LPDWORD returned) {
  if (driverFails) return FALSE;
  const auto* asked = reinterpret_cast<const WORD*>(in);
  const WORD modes[] = {2, 1};
  const WORD known = inSize == 2 && asked[0] == 0 ? 0x8C : 0x4;
  const BYTE status = 0xDF;
  const std::map<DWORD, std::string_view> answers = {
      {0x160014, {reinterpret_cast<const char*>(modes), 4}},
      {0x160004, {reinterpret_cast<const char*>(&status), 1}},
      {0x160024, {reinterpret_cast<const char*>(&known), 2}},
      {0x16000C, {"\0MFG:Corvane;", 13}},
  };
  const std::string_view answer = answers.at(control);
  if (name || answer.size() > outSize) return FALSE;
  answer.copy(reinterpret_cast<char*>(out), outSize);
  *returned = static_cast<DWORD>(answer.size());
  return TRUE;
}

TEST_F(PortCommands, PortTellsOfEachKindOfPort) {
  below_.table.pfnGetPrinterDataFromPort = AnswerForDriver;
  below_.table.pfnReadPort = nullptr;  // no status thread asks between
  AddTcpPort("IP_1", 9100);
  const struct {
    const char* port;
    bool fails;
    std::string properties;  ///< in the order of the names below
  } cases[] = {
      {"LPT1:", false, "LPT1:|1|1|LPT|||||ReadMode=2,WriteMode=1|Status=DF|Capabilities=008C|\\0MFG:Corvane;||"},
      {"LPT1:", true, "LPT1:|1|0|LPT||||||||||"},
      {"COM2:", true, "COM2:|1|0|COM||||||||||"},
      {"USB001", true, "USB001|1|0|USB||||||||||"},
      {"File:", true, "File:|0|0|FILE||||||||||"},
      {"Other", true, "Other|0|0|Unknown||||||||||"},
      {"IP_1", false, "IP_1|1|0|TCP/IP|127.0.0.1|9100||RAW||||||"},
  };
  for (const auto& each : cases) {
    driverFails = each.fails;
    const HANDLE handle = Open(each.port);
    std::string properties, name;
    std::istringstream names(
        "NAME bidirectional disconnected type ip_address tcp_port host protocol parallel_mode parallel_status "
        "parallel_capabilities device_id none");
    while (names >> name)
      properties += Ask("<port action='Get' name='" + name + "'>x</port>", static_cast<PortContext*>(handle)) + "|";
    for (size_t nul; (nul = properties.find('\0')) != properties.npos;) properties.replace(nul, 1, "\\0");
    EXPECT_EQ(properties, each.properties);
    EXPECT_TRUE(lmClosePortW(handle));
  }
}

TEST_F(PortCommands, Reply) {
  struct Service final : NetworkService {
    void Start() override {}
    void Restart() override { ++restarts; }
    void OpenPortOf(const OString&) override {}
    FaultReport* Faults() override { return nullptr; }
    int restarts = 0;
  } service;
  Expect({{"<network action='restart'>x</network>", "x"}});
  SetNetworkService(&service);
  port_->Responses().Append(std::string_view("a\0b", 3));
  spooler_.jobTexts = {{"document", "label"}, {"user", "M\u00fcller"}};
  spooler_.noJob = 9;
  const std::string declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n";
  Expect({
      {"<port action='set'>x</port>", ""},
      {"<port action='none'>x</port><port>y</port>", "xy"},
      {"<port name='name' action='get' />&#0;", std::string("COM1:\0", 6)},
      {"<input_buffer action='size'>x</input_buffer>", "3"},
      {"<input_buffer action='GET'>x</input_buffer><input_buffer action=''>y</input_buffer>", "xy"},
      {"<input_buffer action='check'>x</input_buffer><input_buffer>x</input_buffer>", std::string("a\0ba\0b", 6)},
      {"<input_buffer action='size'/>", "0"},
      {"<job action='get' id='9'>x</job>", declaration},
      {"<job action='get' id='7' jobIdentity='0' jobStatus='false'>x</job>", ""},
      {"<job action='get' id='7' jobIdentity='0' jobStatus='false' events='1'>x</job>", declaration},
      {"<job action='get' id='7' jobStatus='false'>x</job>",
       declaration + "<job id=\"7\">\r\n<jobIdentity\r\n   name=\"label\"\r\n   userName=\"M\u00fcller\"\r\n"
                     "   machineName=\"\"\r\n/>\r\n</job>\r\n"},
      {"<job action='set' id='7'>x</job><job>y</job>", ""},
      {"<network action='ENUMERATE'>x</network>", "xB\u00fcro\r\nLabels\r\n"},
      {"<network action='Restart'>x</network><network action='start'>y</network><network>z</network>", "xyz"},
  });
  SetNetworkService(nullptr);
  EXPECT_EQ(service.restarts, 1);
  port_->Responses().Append("rest");
  Expect({{"<input_buffer action='flush'>x</input_buffer><input_buffer action='size'/>", "x0"}});
}

TEST_F(PortCommands, ReplyAsThePageForUsersSays) {
  plugin_.statusKinds = 0;
  spooler_.printers.erase("B\u00fcro");
  spooler_.noJob = 4711;
  int run = 0;
  for (const XpmlExample& example : ReadXpmlExamples(PORTWISE_DOCS "/xpml.md")) {
    if (example.needs != "port") continue;
    EXPECT_EQ(Ask(example.request), example.reply) << example.request;
    ++run;
  }
  EXPECT_EQ(run, 10);
}

TEST_F(PortCommands, ShutdownEndsTheConnectionForGood) {
  below_.table.pfnReadPort = nullptr;
  AddTcpPort("IP_1", 9100);
  const HANDLE handle = Open("IP_1");
  auto* port = static_cast<PortContext*>(handle);
  EXPECT_EQ(Ask("<network action='shutdown'>x</network>", port), "x");
  EXPECT_EQ(ErrorOf(port->PrinterConnection().Open()), ERROR_OPERATION_ABORTED);
  EXPECT_TRUE(lmClosePortW(handle));
}

/// Of what a job's data say, its own printer is meant, whatever a request makes the port's.
TEST_F(PortCommands, KeepTheJobsPrinterApartFromTheRequests) {
  const OString sharing("PRINT:Printers/B\u00fcro/PrinterDriverData/Security/Configuration Sharing", CP_UTF8);
  ORegistry().SetBool(OString(sharing.Narrow(), kCodePageUtf8), false);
  const std::string state = "<state action='get' name='Configuration Sharing'/>";
  Expect({{Ansi("<printer name='B\u00fcro'>x</printer>") + state, "x0"},
          {"<printer/><printer name=''/>" + state, "0"},
          {"<printer name='gone'/>" + state + Ansi("<printer name='B\u00fcro'/>") + state, "10"}});
  ASSERT_TRUE(Start(handle_, 1));  // of "Labels"
  Expect({{Ansi("<printer name='B\u00fcro'/>") + state, "1"}});
  port_->SetPrinterName(OString("B\u00fcro", CP_UTF8));
  Expect({{state, "0"}});
  DWORD written = 0;
  EXPECT_TRUE(Write(handle_,
                    "<xpml>" + state + "<settings action='update'>[DATA:\\Test]\r\n\"a\"=\"b\"\r\n</settings></xpml>",
                    &written));
  EXPECT_EQ(below_.output, "1");
  EXPECT_TRUE(lmEndDocPortW(handle_));
  EXPECT_EQ(ORegistry().GetString("PRINT:Printers/Labels/PrinterDriverData/Test/a"), OString("b"));
}

TEST_F(PortCommands, SmartCardsReachThePlugInInADocument) {
  plugin_.specialResult = 0;
  Expect({{"<smart_card reader='R1' type='t' copies='3'>a<reverse>cb</reverse></smart_card>", ""}});
  EXPECT_EQ(plugin_.special, "R1,t,3,abc");
  for (const auto& [copies, sent] : std::map<std::string, std::string>{{"", "1"}, {"-2", "0"}, {"x", "0"}}) {
    Ask("<smart_card copies='" + copies + "'/>");
    EXPECT_EQ(plugin_.special, ",," + sent + ",");
  }
  below_.refuseStart = true;
  Ask("<smart_card/>");
  below_.refuseStart = false;
  Ask("<packet>refused, not silenced</packet>");
  EXPECT_EQ(std::exchange(below_.output, ""), "refused, not silenced");
  below_.calls.clear();
  plugin_.specialResult = 0x10070;
  ASSERT_TRUE(Start(handle_, 1));
  DWORD written = 0;
  EXPECT_TRUE(Write(handle_, "a<xpml><smart_card>card</smart_card></xpml>b", &written));
  EXPECT_EQ(plugin_.special, ",,1,card");
  EXPECT_TRUE(lmEndDocPortW(handle_));
  Expect({{"<smart_card/>", ""}});
  EXPECT_EQ(below_.output, "a");
  EXPECT_THAT(below_.calls, ::testing::ElementsAre("start Labels 1 1", "end", "start Labels 0 1", "end"));
}

TEST_F(PortCommands, SettingsTellDifferences) {
  ORegistry registry;
  const OString data = "PRINT:Printers/Labels/PrinterDriverData";
  registry.SetString(data + "/a];[b/x", "two\r\n[-DATA:]\r\nlines");
  registry.SetDword(data + "/Settings/n", 10);
  registry.SetString("LOCAL:Common/t", OString("\xc3\xbc\"", CP_UTF8));
  registry.SetString("LOCAL:XPML/t", "not a setting");
  const std::string odd = "[DATA:\\a];[b]\r\n\"x\"=\"two\"\r\n\r\n";
  const std::string settings = "[DATA:\\Settings]\r\n\"n\"=dword:0000000a\r\n\r\n";
  const std::string common =
      "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Corvane\\Drivers\\Common]\r\n\"t\"=\"\xc3\xbc\\\"\"\r\n\r\n";
  const auto checksum = [&] { return registry.GetDword(data + "/Settings/(CRC32)"); };
  EXPECT_EQ(Settings(""), settings + odd + common);
  EXPECT_EQ(checksum(), 0u) << "of what was not asked for by its checksum";
  EXPECT_EQ(Settings("[data:SETTINGS],00000000"), odd + common) << "nobody has a checksum";
  EXPECT_EQ(Settings(";;[DATA:Settings],1A2b3c4D;"), settings + odd + common);
  ASSERT_NE(checksum(), 0u);
  const std::string own = "[DATA:Settings]," + EncodeHexNumber(checksum());
  const std::string all = own + ";[LOCAL:Common]";
  EXPECT_EQ(Settings(all), odd);
  EXPECT_EQ(Settings(all + ";" + all + "&#0;;[DATA:Gone]"), odd) << "named twice, it is no other key";
  EXPECT_EQ(Settings(own + "0;[DATA:Gone],x;none;[]],;[none];[LOCAL:Common];[LOCAL:a;b]"),
            settings + odd + "[-DATA:\\Gone]\r\n\r\n[-HKEY_LOCAL_MACHINE\\SOFTWARE\\Corvane\\Drivers\\a;b]\r\n\r\n");

  registry.SetString(data + "/Settings/Deep/x", "gone");
  Expect({{"<settings action='Update'>" + settings + "[-DATA:\\a];[b]\r\n</settings>", ""},
          {"<settings action='update'>no registry text\r\n&#0;\n\n\r\n[none\r\n\"a\"=\"b\"</settings>", ""},
          {IsWine() ? "" : "<settings action='unrestrict'>x</settings>", ""},
          {"<settings action='get'>x</settings><settings>y</settings>", "xy"}});
  EXPECT_EQ(checksum(), 0u) << "a key is replaced with all that it holds";
  EXPECT_EQ(Settings(""), settings + common);
  port_->SetPrinterName("gone");
  EXPECT_EQ(Settings(""), common);
}

}  // namespace
}  // namespace portwise
