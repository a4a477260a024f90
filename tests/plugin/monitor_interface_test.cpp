#include <algorithm>
#include <set>

#include "plugin/monitor_interface_plugin.h"
#include "tests/plugin/plugin_fixture.h"
#include "tests/support/print_ostring.h"

namespace portwise {
namespace {

class MonitorInterfaceTest : public PluginFixture {
 protected:
  PluginLoad Load(const char* printer = "Labels") { return monitor_.Load(printer, "IP_1", connection_); }

  MonitorInterfacePlugin monitor_;
};

TEST_F(MonitorInterfaceTest, NegotiatesAVersion) {
  const struct {
    int library;
    DWORD wrongVersion;
    BOOL result;
    bool loaded;
    const char* log;
  } rows[] = {
      {2, 0, TRUE, true, "entry-2 1 2 "},
      {1, 0, TRUE, true, "entry-2 entry-1 open-Labels close "},
      {2, 0, 0x101, true, "entry-2 1 2 "},
      {2, 0, 0x7FFFFF00, false, "entry-2 entry-1 "},  // only the low byte counts
      {1, 0, FALSE, false, "entry-2 entry-1 "},
      {2, 3, TRUE, false, "entry-2 "},
      {1, 7, TRUE, false, "entry-2 entry-1 "},
      {0, 0, TRUE, false, ""},
  };
  for (const auto& row : rows) {
    Install(row.library);
    plugin_->wrongVersion = row.wrongVersion;
    plugin_->result = row.result;
    EXPECT_EQ(Load(), PluginLoad::PrinterOpened);
    EXPECT_EQ(monitor_.IsLoaded(), row.loaded) << row.library << row.log;
    monitor_.Unload();
    EXPECT_FALSE(monitor_.IsLoaded());
    EXPECT_EQ(plugin_->TakeLog(), row.log);
    own_.Reset();
    EXPECT_EQ(GetModuleHandleW(File().Wide()), nullptr);
  }
}

TEST_F(MonitorInterfaceTest, WithoutAPluginSupportsNothingAndVetoesNothing) {
  EXPECT_EQ(Load(), PluginLoad::PrinterOpened);
  EXPECT_EQ(Load("Bare"), PluginLoad::PrinterOpened);
  EXPECT_EQ(Load("Nobody"), PluginLoad::PrinterNotOpened);
  EXPECT_FALSE(monitor_.IsLoaded());
  PluginStatus status;
  EXPECT_FALSE(monitor_.SupportsStatus(ConnectionKind::Tcp) || monitor_.VetoesVerification(ConnectionKind::Tcp));
  EXPECT_FALSE(monitor_.StatusWithoutRequest(&status));
  EXPECT_EQ(monitor_.BuildRequest(nullptr, 0), 0);
  EXPECT_EQ(monitor_.SpecialOperation("r", "t", 1, "d", 1), kNoSpecialOperation);

  PrinterInfo info("Bare");
  info.driverFolder = "D";
  EXPECT_EQ(PluginFileName(info), OString("D\\#-u.dll"));
}

TEST_F(MonitorInterfaceTest, ReadsCapabilitiesByKindOfConnection) {
  using Kind = ConnectionKind;
  const struct {
    Kind kind;
    DWORD status, noVerify;
  } rows[] = {{Kind::Com, 1, 0x100},
              {Kind::Parallel, 2, 0x200},
              {Kind::Usb, 4, 0x400},
              {Kind::Tcp, 8, 0x800},
              {Kind::Generic, 0, 0}};
  for (const int version : {1, 2}) {
    Install(version);
    Load();
    for (int bit = 0; bit < 32; ++bit) {
      const DWORD mask = 1u << bit;
      plugin_->capabilities = {mask, mask};
      for (const auto& row : rows) {
        EXPECT_EQ(monitor_.SupportsStatus(row.kind), row.status == mask) << bit;
        EXPECT_EQ(monitor_.VetoesVerification(row.kind), row.noVerify == mask) << bit;
      }
      EXPECT_EQ(monitor_.SupportsBufferSpace(), mask == 1);
      EXPECT_EQ(monitor_.HasStatusChannel(), mask == 2);
    }
    monitor_.Unload();
  }
}

TEST_F(MonitorInterfaceTest, BringsLengthsIntoBounds) {
  const struct {
    LONG claimed, measured, built, used;
  } rows[] = {{6, 6, 6, 6},           {11, 11, 8, 10}, {65536, 65536, 8, 10}, {65537, 0, 8, 10},
              {0x7FFFFFFF, 0, 8, 10}, {0, 0, 0, 0},    {-1, 0, 0, -1}};
  for (const int version : {1, 2}) {
    Install(version);
    Load();
    std::copy_n(std::begin({~0u, 2u, 9u, 3u, 4u, 5u, 6u, 7u, 8u, 9u}), 10, plugin_->status);
    for (const auto& row : rows) {
      plugin_->length = row.claimed;
      char buffer[8];
      EXPECT_EQ(monitor_.BuildRequest(nullptr, 8), row.measured);
      EXPECT_EQ(monitor_.BuildRequest(buffer, 8), row.built);
      PluginStatus status;
      EXPECT_EQ(monitor_.ParseResponse("0123456789", 10, &status), row.used) << row.claimed;
      EXPECT_EQ(status.HasStatus(), row.used > 0);
      if (row.used <= 0) continue;
      EXPECT_TRUE(status.code == 2 && status.threshold == 3 && status.available == 4);
      // Version 1 has no extra codes, whatever its flags say.
      EXPECT_EQ(status.HasExtraCode(0) && status.HasExtraCode(4), version == 2);
      EXPECT_EQ(status.extraCodes[4], version == 2 ? 9u : 0u);
    }
    EXPECT_EQ(plugin_->TakeLog().find("parse-with-flags"), std::string::npos);
    monitor_.Unload();
  }
}

TEST_F(MonitorInterfaceTest, PassesVerdictsAndSpecialOperationsOn) {
  Install(2);
  Load();
  const struct {
    DWORD answer;
    PluginVerdict verdict;
  } rows[] = {{0, PluginVerdict::None},   {1, PluginVerdict::Complete}, {2, PluginVerdict::Incomplete},
              {3, PluginVerdict::Failed}, {4, PluginVerdict::None},     {0x101, PluginVerdict::None}};
  for (const auto& row : rows) {
    plugin_->answer = row.answer;
    EXPECT_EQ(monitor_.PassData("x", 1), row.verdict) << row.answer;
    PluginStatus status;
    EXPECT_EQ(monitor_.StatusWithoutRequest(&status), row.answer != 0);
  }
  plugin_->TakeLog();
  EXPECT_EQ(monitor_.SpecialOperation("Reader", "Type", 3, "data", 4), 0x101u);
  EXPECT_EQ(plugin_->TakeLog(), "special-data3RT ");
}

TEST_F(MonitorInterfaceTest, SkipsWhatATableLacks) {
  for (const int version : {1, 2}) {
    Install(version);
    plugin_->entries = 0;
    plugin_->length = 5;
    plugin_->capabilities = {~0u, ~0u};
    Load();
    EXPECT_TRUE(monitor_.IsLoaded());
    plugin_->TakeLog();
    monitor_.Notify(PluginEvent::PageOpened);
    PluginStatus status;
    char buffer[8];
    EXPECT_EQ(monitor_.BuildRequest(buffer, 8), 0);
    EXPECT_EQ(monitor_.ParseResponse("x", 1, &status), 0);
    EXPECT_EQ(monitor_.PassData("x", 1), PluginVerdict::None);
    EXPECT_FALSE(monitor_.StatusWithoutRequest(&status) || monitor_.SupportsBufferSpace());
    EXPECT_EQ(monitor_.SpecialOperation("", "", 1, nullptr, 0), kNoSpecialOperation);
    monitor_.Unload();
    EXPECT_EQ(plugin_->TakeLog(), "");
  }
}

TEST_F(MonitorInterfaceTest, TheBlockTellsOfThePortAndReachesItsConnection) {
  Install(2);
  PortwiseBlock* block = nullptr;
  plugin_->onCall = [&](const std::string&, PortwiseBlock* given) { block = given; };
  Load();
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(OString(block->printerName), OString("Labels"));
  EXPECT_EQ(OString(block->portName), OString("IP_1"));
  const auto* words = reinterpret_cast<const ULONG_PTR*>(block);
  EXPECT_EQ(words[2], 8u);
  const std::set<int> used = {0, 1, 2, 18, 19, 20, 21, 32};
  for (int word = 0; word < 33; ++word) EXPECT_EQ(words[word] != 0, used.contains(word)) << word;

  DWORD moved = 7;
  char buffer[8] = {};
  EXPECT_EQ(block->write(block, "abcd", 4, &moved), 1u);
  EXPECT_EQ(moved, 3u);
  EXPECT_EQ(connection_.received, "abc");
  EXPECT_EQ(block->write(block, "abcd", 4, nullptr), 1u);
  EXPECT_EQ(block->write(block, nullptr, 4, &moved), 0u);
  EXPECT_EQ(moved, 0u);
  EXPECT_EQ(block->read(block, buffer, 8, &moved), 1u);
  EXPECT_EQ(std::string(buffer, moved), "rrrrrrr");
  EXPECT_EQ(block->read(block, nullptr, 8, &moved), 0u);
  EXPECT_EQ(block->check(block, ~0u), 1u);
  EXPECT_EQ(block->control(block, 401, nullptr, nullptr, 0), 31000u);
  EXPECT_EQ(block->control(block, 402, nullptr, nullptr, 0), 7000u);
  EXPECT_EQ(block->control(block, 400, nullptr, nullptr, 0), 0u);
  std::fill_n(buffer, 8, '-');
  EXPECT_EQ(block->control(block, 301, "<a/>", buffer, 7), 13u);
  EXPECT_EQ(std::string(buffer, 8), "reply t-");
  EXPECT_EQ(block->control(block, 301, "<a/>", nullptr, 7), 13u);
  EXPECT_EQ(block->control(block, 301, nullptr, buffer, 7), 0u);

  // A failure inside ends in the callback, as does a block that is nobody's.
  connection_.onWrite = [] { throw std::bad_alloc(); };
  EXPECT_EQ(block->write(block, "abcd", 4, &moved), 0u);
  PortwiseBlock foreign{};
  EXPECT_EQ(block->write(&foreign, "abcd", 4, &moved), 0u);
  EXPECT_EQ(block->check(nullptr, 1), 0u);
}

TEST_F(MonitorInterfaceTest, KeepsNamesAndRequestsReadable) {
  Install(2);
  PortwiseBlock* block = nullptr;
  LPCWSTR firstName = nullptr;
  const void* old = nullptr;
  plugin_->onCall = [&](const std::string& function, PortwiseBlock* given) {
    if (function == "1") {
      block = given;
      firstName = block->printerName;
    }
    if (function != "14") return;
    // While this runs, the status thread goes on.
    old = block->request;
    monitor_.RememberRequest("second", nullptr);
    EXPECT_EQ(std::string(static_cast<const char*>(old), 5), "first");
    EXPECT_EQ(block->requestParameters, nullptr);
    monitor_.ForgetRequest();
    EXPECT_EQ(std::string(static_cast<const char*>(old), 5), "first");
  };
  Load();
  std::string bytes("first, and too long to lie in a string itself");
  {
    const std::string parameters("read=false;");
    monitor_.RememberRequest(bytes, parameters.c_str());
  }
  bytes[0] = 'x';
  const void* request = nullptr;
  DWORD length = 0;
  EXPECT_TRUE(PortwiseLastRequest(block, &request, &length));
  EXPECT_EQ(std::string(static_cast<const char*>(request), length), "first" + bytes.substr(5));
  EXPECT_STREQ(block->requestParameters, "read=false;");
  monitor_.Notify(PluginEvent::PageOpened);
  EXPECT_NE(old, nullptr);
  EXPECT_TRUE(block->request == nullptr && block->requestLength == 0 && block->requestParameters == nullptr);
  EXPECT_FALSE(PortwiseLastRequest(block, &request, &length));
  monitor_.RememberRequest("", "write=false;");
  EXPECT_STREQ(block->requestParameters, "write=false;") << "an answer that is not asked for is judged, too";

  plugin_->TakeLog();
  monitor_.SetPrinterName("Other");
  EXPECT_EQ(OString(block->printerName), OString("Other"));
  EXPECT_EQ(OString(firstName), OString("Labels"));
  EXPECT_EQ(plugin_->TakeLog(), "");
  EXPECT_EQ(Load("Labels"), PluginLoad::PrinterOpened);  // it was loaded for that one
  EXPECT_EQ(plugin_->TakeLog(), "");
  Load("labels");
  Load("Other");
  EXPECT_EQ(plugin_->TakeLog(), "2 entry-2 1 ");
}

}  // namespace
}  // namespace portwise
