#include <gmock/gmock.h>

#include <cstdlib>
#include <fstream>
#include <thread>

#include "core/hex.h"
#include "settings/registry.h"
#include "tests/support/fake_printer.h"
#include "tests/support/files.h"
#include "tests/support/spooler_home.h"

namespace portwise::test {
namespace {

using testing::HasSubstr;
using Json = nlohmann::json;

class DriverRequests : public testing::Test {
 protected:
  DriverRequests() : home_("portwise.dll") {
    EXPECT_TRUE(home_.Start("dock", {"Labels", "More Labels"})) << home_.Errors();
  }

  void Expect(const std::string& command, int code, const std::string& output) {
    const ProgramResult result = RunProgram("portwise xpml " + command);
    EXPECT_EQ(result.code, code) << command << "\n" << result.output;
    EXPECT_EQ(result.output, output) << command;
  }
  /// What the call returns; `buffer` is filled with "#" first.
  DWORD Get(const unique_printer& printer, std::u16string value, DWORD size, LPCWSTR key = nullptr) {
    std::fill(std::begin(buffer_), std::end(buffer_), '#');
    needed_ = 77;
    auto* data = reinterpret_cast<LPBYTE>(buffer_);
    return key ? GetPrinterDataExW(printer.Get(), key, value.data(), &type_, data, size, &needed_)
               : GetPrinterDataW(printer.Get(), value.data(), &type_, data, size, &needed_);
  }

  SpoolerHome home_;
  char buffer_[64];
  DWORD type_ = 0, needed_ = 0;
};

TEST_F(DriverRequests, TravelInThreeForms) {
  Expect("labels '<uppercase>abc \u00fc</uppercase>;'", 0, "ABC \u00fc;");
  Expect("Labels --channel inline '<reverse>abc</reverse>'", 0, "cba");
  Expect("'More Labels' --channel monitoring", 0, "\x01");
  const ProgramResult bytes = RunProgram(R"(true; printf '<uppercase>a\000</uppercase>\377' | )" + ProgramFolder() +
                                         "/portwise xpml Labels | od -An -tx1");
  EXPECT_THAT(bytes.output, HasSubstr(" 41 00 ff\n"));
  const std::string large(200000, 'x');
  WriteBytes(home_.File("large"), "<reverse>" + large + "y</reverse>");
  for (const std::string channel : {"stored", "inline"}) {
    Expect("Labels '<a></a>' --channel " + channel, 0, "");
    Expect("Labels - --channel " + channel + " < " + home_.File("large"), 0, "y" + large);
  }
  EXPECT_NE(RunProgram("portwise xpml Labels < " + home_.File("none")).code, 0);
  Expect("Nobody x", 1, "portwise: there is no printer Nobody; 'portwise printer list' shows them\n");
  Expect("Labels ''", 1, "portwise: the request is empty\n");
  Expect("Labels abc --channel inline", 1, "portwise: an inline request begins with \"<\"\n");
  EXPECT_NE(RunProgram("portwise xpml Labels x --channel http").code, 0);
  OStringArray left;
  ORegistry().EnumValues("LOCAL:XPML", &left);
  EXPECT_EQ(left.Size(), 0) << "requests stay in the registry";
}

TEST_F(DriverRequests, ReachTheMonitorAsPrinterDataOfEverySize) {
  const unique_printer printer = OpenPrinterOf(u"Labels");
  const ORegistry registry;
  const std::string request = "<reverse>12345</reverse>";
  const struct {
    std::u16string value;
    DWORD needed;
    std::string answer;
  } rows[] = {{u"<uppercase>abcdefgh</uppercase>", 8, "ABCDEFGH"},
              {u"XPML:Labels,Sized", 4, std::string("\5\0\0\0", 4)},
              {u"Monitoring Enabled", 1, "\1"}};
  for (const auto& row : rows) {
    for (const DWORD size : {0u, row.needed - 1, row.needed, row.needed + 1}) {
      registry.SetBinary("LOCAL:XPML/Sized", request.data(), static_cast<DWORD>(request.size()));
      const bool enough = size >= row.needed;
      EXPECT_EQ(Get(printer, row.value, size), enough ? ERROR_SUCCESS : DWORD{ERROR_MORE_DATA}) << size;
      EXPECT_EQ(needed_, row.needed);
      const std::string answer = enough ? row.answer : "";
      EXPECT_EQ(std::string(buffer_, sizeof buffer_), answer + std::string(sizeof buffer_ - answer.size(), '#'));
      EXPECT_EQ(type_, DWORD{REG_BINARY});
    }
  }
  EXPECT_EQ(Get(printer, u"XPML:Labels,None", 64), DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(Get(printer, u"Monitoring Enabled", 64, TEXT("Other")), DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(Get(printer, u"Monitoring Enabled", 64, TEXT("printerdriverdata")), DWORD{ERROR_SUCCESS});
  // What is no request is data as ever.
  const unique_printer administrator = OpenPrinterOf(u"Labels", PRINTER_ALL_ACCESS);
  BYTE data[] = {1, 2, 3};
  std::u16string plain = u"Plain";
  EXPECT_EQ(SetPrinterDataW(administrator.Get(), plain.data(), 77, data, 3), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(Get(printer, plain, 2), DWORD{ERROR_MORE_DATA});
  EXPECT_EQ(Get(printer, plain, 3), DWORD{ERROR_SUCCESS});
  EXPECT_TRUE(type_ == 77 && needed_ == 3 && buffer_[2] == 3 && buffer_[3] == '#');
}

TEST_F(DriverRequests, AreAnsweredWhileThePortPrints) {
  FakePrinter device;
  Ask({{"op", "port-add"}, {"name", "net"}, {"host", "127.0.0.1"}, {"port", device.Port()}, {"protocol", "raw"}});
  Ask({{"op", "printer-add"}, {"name", "Net"}, {"port", "net"}});
  const unsigned job = Submit("Net", std::string(16 << 20, 'x'));
  EXPECT_TRUE(Eventually([&] { return GetJob(job).value("state", "") == "printing"; })) << GetJob(job);
  Expect("Net '<uppercase>abc</uppercase>'", 0, "ABC");
  Control(job, JOB_CONTROL_CANCEL);

  EXPECT_EQ(home_.Stop(), 0) << home_.Errors();
}

TEST(DriverRequestsElsewhere, OfAMonitorThatAnswersLittle) {
  SpoolerHome home;
  SpoolerHome::Set("Refuse Open", 1);
  ASSERT_TRUE(home.Start("dock", {"Labels"})) << home.Errors();
  ExpectRun("xpml Labels '<a></a>x'", 1, "portwise: the port of printer Labels is not open\n");
  SpoolerHome::Set("Refuse Open", 0);
  EXPECT_TRUE(Eventually([] {
    return RunProgram("portwise xpml Labels x").output ==
           "portwise: the monitor of printer Labels does not answer this request\n";
  }));

  // A port whose monitor is at work on a request is not closed.
  SpoolerHome::Set("Delay", 10000);
  const Json slow{
      {"op", "printer-data-get"}, {"printer", "Labels"}, {"key", "PrinterDriverData"}, {"value", "Slow"}, {"size", 9u}};
  std::thread asker([&] { EXPECT_EQ(Ask(slow).body, "slow"); });
  EXPECT_TRUE(Eventually([&] { return ReadFile(home.File("fake.log")).find("data begins\n") != std::string::npos; }));
  std::thread remover([] { EXPECT_EQ(Ask({{"op", "printer-remove"}, {"name", "Labels"}}).head["error"], 0u); });
  asker.join();
  remover.join();
  EXPECT_THAT(ReadFile(home.File("fake.log")), testing::EndsWith("data begins\ndata of dock\nclose dock\n"));
  home.Stop();
  ExpectRun("xpml Labels x", 1, "no spooler answers");
}

/// One of two computers that share a printer.
struct Computer {
  SpoolerHome home{"portwise.dll"};

  explicit Computer(const std::string& settings) {
    EXPECT_TRUE(home.Start()) << home.Errors();
    Run("port add dock --file /dev/null");
    Run("printer add Labels --port dock " + settings);
  }
  std::string Run(const std::string& arguments) {
    setenv("PORTWISE_HOME", home.Path().c_str(), 1);
    return ExpectRun(arguments);
  }
  std::string Send(const std::string& action, const std::string& content) {
    std::string request = "<settings action='" + action + "'>";
    for (const char byte : content) request += byte == '&' ? "&amp;" : byte == '<' ? "&lt;" : std::string(1, byte);
    std::ofstream(home.File("request")) << request << "</settings>";
    return Run("xpml Labels - < " + home.File("request"));
  }
  std::string Checksum() {
    const auto number = Run("registry get 'PRINT:Printers/Labels/PrinterDriverData/Settings/(CRC32)'");
    return EncodeHexNumber(static_cast<DWORD>(std::stoul(number)));
  }
  std::string Export() { return Run("registry export PRINT:Printers/Labels/PrinterDriverData"); }
};

TEST(SettingsExchange, BringsTwoComputersIntoLine) {
  Computer server("--setting 'Status/Send Timeout=77' --setting 'Logging/Directory=/l/\u00fc <&amp;> \\\"x\\\"'");
  server.Run("registry set 'PRINT:Printers/Labels/PrinterDriverData/Presets/[a]/b' --type binary " +
             std::string(400, '7'));
  server.Run("registry set LOCAL:Shared/x 1 --type dword");
  Computer client("--setting 'Status/Response Timeout=5' --data 'PrinterDriverData/Old/x=y'");
  const std::string claims = "[DATA:Settings],FFFFFFFF;[DATA:Presets],FFFFFFFF;[LOCAL:Shared],FFFFFFFF";
  const std::string missing = server.Send("request", claims + ";[DATA:Old],12345678");
  EXPECT_THAT(missing, HasSubstr("[-DATA:\\Old]\r\n\r\n"));
  EXPECT_EQ(client.Send("update", missing), "");
  client.Send("request", claims);
  EXPECT_EQ(client.Export(), server.Export());
  EXPECT_EQ(client.Checksum(), server.Checksum());
  const auto known = [&] { return "[DATA:Settings]," + client.Checksum() + ";[DATA:Presets];[LOCAL:Shared]"; };
  EXPECT_THAT(server.Send("request", known()), testing::Not(HasSubstr("Timeout")));

  // A change is told to whoever does not count on the checksum of the last export.
  server.Run("printer set Labels --setting 'Status/Send Timeout=78'");
  EXPECT_EQ(client.Send("update", server.Send("request", "[DATA:Settings],00000000")), "");
  EXPECT_THAT(client.Run("printer show Labels"), HasSubstr("Status/Send Timeout = 78\n"));
  client.Send("request", "[DATA:Settings],FFFFFFFF");
  EXPECT_EQ(client.Checksum(), server.Checksum());
}

}  // namespace
}  // namespace portwise::test
