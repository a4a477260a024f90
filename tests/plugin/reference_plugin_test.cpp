#include <gmock/gmock.h>

#include "connection/connection_tcp.h"
#include "plugin/port_plugins.h"
#include "tests/plugin/plugin_fixture.h"
#include "tests/support/files.h"
#include "tests/support/printer_program.h"

namespace portwise {
namespace {

/// The plug-in and the printer that it was made for, over a real connection.
class ReferencePluginTest : public testing::Test {
 protected:
  ReferencePluginTest() {
    RegisterPort("IP_1", "127.0.0.1", "127.0.0.1", printer_.Port());
    const std::string folder = REFERENCE_FOLDER;
    for (const std::string data : {"SIMPR.DAT", "BLKPR.DAT"}) {
      const nlohmann::json driver{{"file", folder + "/reference.dll"}, {"dataFile", folder + "/" + data}};
      spooler_.printers[data] = {"IP_1", "", {{"driver", data}}, driver};
    }
    connection_.SetPortContext(&port_);
    connection_.RefreshAddress(false);
  }
  ~ReferencePluginTest() override {
    plugins_.Unload();
    ThreadLocalSlot::DestroyObjects();
  }

  bool Send(const std::string& bytes) {
    DWORD written = 0;
    return connection_.Write(bytes.data(), static_cast<DWORD>(bytes.size()), &written) && written == bytes.size();
  }

  /// Asks the printer as the status thread does: the codes of the last answer.
  std::vector<DWORD> AskStatus() {
    std::string request(static_cast<size_t>(monitor_.BuildRequest(nullptr, 0)), ' ');
    monitor_.BuildRequest(request.data(), static_cast<DWORD>(request.size()));
    EXPECT_TRUE(connection_.OpenStatus() && Send(request));
    std::string answer;
    for (int attempt = 0; attempt < 2; ++attempt) {
      char buffer[4096];
      DWORD read = 0;
      connection_.Read(buffer, sizeof buffer, &read);
      answer.append(buffer, read);
      const LONG used = monitor_.ParseResponse(answer.data(), static_cast<DWORD>(answer.size()), &status_);
      if (used <= 0) continue;
      std::vector<DWORD> codes{status_.code};
      for (int index = 0; index < PluginStatus::kExtraCodes; ++index) {
        if (status_.HasExtraCode(index)) codes.push_back(status_.extraCodes[index]);
      }
      return codes;
    }
    return {};
  }

  TemporaryHome home_;
  FakeSpooler spooler_;
  PrinterProgram printer_{"--buffer 8192 --record " + home_.Path().string() + "/r"};
  FakePortLink port_{"IP_1"};
  Connection_TCP connection_;
  PortPlugins plugins_;
  MonitorInterfacePlugin& monitor_ = plugins_.Monitor();
  PluginStatus status_;
};

TEST_F(ReferencePluginTest, TellsTheStatusOfThePrinter) {
  monitor_.Load("SIMPR.DAT", "IP_1", connection_);
  ASSERT_TRUE(monitor_.IsLoaded());
  EXPECT_TRUE(monitor_.HasStatusChannel() && monitor_.SupportsStatus(ConnectionKind::Tcp));
  const struct {
    const char* order;
    std::vector<DWORD> codes;
  } rows[] = {{"stats", {1}},
              {"ribbon low", {1, 0x20001}},
              {"paper out", {0x10001, 0x20001}},
              {"head open", {0x10012, 0x10001, 0x20001}},
              {"offline", {5, 0x10012, 0x10001, 0x20001}},
              {"pieces 3", {5, 0x10012, 0x10001, 0x20001}},
              {"wrong 1", {}},
              {"ready", {1}}};
  for (const auto& row : rows) {
    EXPECT_THAT(printer_.Order(row.order), testing::StartsWith("ok"));
    EXPECT_EQ(AskStatus(), row.codes) << row.order;
    connection_.Close();
  }
  EXPECT_TRUE(status_.Has(PluginStatus::kAvailable) && status_.available == 8192);
  EXPECT_TRUE(status_.Has(PluginStatus::kThreshold) && status_.threshold == 8192);

  // What lies before an answer, and damage, is passed over; a query is complete with its frame.
  const std::string answer = "noise\x02ST R 00 9 9 0 0;00\x03\x02ID x;25\x03\x02ST P 00 7 9 0 1;E8\x03tail";
  EXPECT_EQ(monitor_.ParseResponse(answer.data(), static_cast<DWORD>(answer.size()), &status_),
            static_cast<LONG>(answer.size() - 4));
  EXPECT_TRUE(status_.code == 3 && status_.available == 7);
  EXPECT_EQ(monitor_.PassData("\x02ID", 3), PluginVerdict::Incomplete);
  EXPECT_EQ(monitor_.PassData("\x02ID;8D\x03", 7), PluginVerdict::Complete);
  EXPECT_EQ(monitor_.PassData("\x02ID;8E\x03", 7), PluginVerdict::Failed);
}

TEST_F(ReferencePluginTest, BlocksCarryWhatLooksLikeARequest) {
  ProtocolPlugin& protocol = plugins_.Protocol();
  plugins_.EnsureProtocolLoaded("SIMPR.DAT", "IP_1", connection_);
  EXPECT_TRUE(protocol.IsLoaded() && !protocol.IsActive());
  plugins_.PrinterRenamed("BLKPR.DAT");
  plugins_.EnsureProtocolLoaded("BLKPR.DAT", "IP_1", connection_);
  ASSERT_TRUE(protocol.IsActive());

  std::string data;
  while (data.size() < 300000) data += "label \x1b?ST\r\n" + std::to_string(data.size() * 2654435761u);
  EXPECT_EQ(printer_.Order("speed 1000000"), "ok");  // so that writes are cut
  ASSERT_TRUE(connection_.Open());
  protocol.Notify(ProtocolEvent::JobStart);
  for (size_t done = 0; done < data.size();) {
    DWORD written = 0;
    const auto offered = static_cast<DWORD>(std::min<size_t>(data.size() - done, 50000));
    protocol.Write(data.data() + done, offered, &written);
    done += written;
  }
  // A query goes as it is.
  protocol.Notify(ProtocolEvent::QueryStart);
  DWORD moved = 0;
  EXPECT_TRUE(protocol.Write("\x1b?ID\r\n", 6, &moved) && moved == 6);
  protocol.Notify(ProtocolEvent::QuerySent);
  char buffer[64];
  EXPECT_TRUE(protocol.Read(buffer, sizeof buffer, &moved));
  EXPECT_THAT(std::string(buffer, moved), testing::StartsWith("\x02ID portwise-printer 1;"));
  protocol.Notify(ProtocolEvent::JobEnd);
  EXPECT_TRUE(connection_.Close());
  EXPECT_EQ(printer_.Order("wait-idle"), "ok");
  EXPECT_THAT(printer_.Order("stats"), testing::HasSubstr(" requests=1"));
  EXPECT_TRUE(ReadBytes(home_.Path() / "r" / "0001.prn") == data);
}

}  // namespace
}  // namespace portwise
