#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "core/fault/exception_handler.h"
#include "platform/test_clock.h"
#include "plugin/port_plugins.h"
#include "tests/plugin/plugin_fixture.h"
#include "tests/support/faults.h"

namespace portwise {
namespace {

class PortPluginsTest : public PluginFixture {
 protected:
  PortPluginsTest() { Install(2); }

  void Ensure(const char* printer = "Labels") { plugins_.EnsureProtocolLoaded(printer, "IP_1", connection_); }

  PortPlugins plugins_;
};

TEST_F(PortPluginsTest, TheProtocolIsActiveWhenItSaysSoAndCanWrite) {
  const struct {
    DWORD capabilities, entries, wrongVersion;
    BOOL result;
    bool loaded, active;
  } rows[] = {
      {1, ~0u, 0, TRUE, true, true},  {0xFFFFFFFE, ~0u, 0, TRUE, true, false}, {1, ~(1u << 3), 0, TRUE, true, false},
      {1, ~2u, 0, TRUE, true, false}, {1, ~0u, 2, TRUE, false, false},         {1, ~0u, 0, 0x100, false, false},
  };
  for (const auto& row : rows) {
    plugin_->protocolCapabilities = {row.capabilities, 0};
    plugin_->entries = row.entries;
    plugin_->wrongVersion = row.wrongVersion;
    plugin_->result = row.result;
    Ensure();
    EXPECT_EQ(plugins_.Protocol().IsLoaded(), row.loaded);
    EXPECT_EQ(plugins_.Protocol().IsActive(), row.active);
    plugins_.Unload();
  }
}

TEST_F(PortPluginsTest, TheProtocolsFiguresStayInBounds) {
  Ensure();
  DWORD moved = 9;
  char buffer[4];
  for (const DWORD claimed : {0u, 3u, 4u, 5u, ~0u}) {
    plugin_->moved = claimed;
    plugin_->answer = 0x100;  // one byte of it is the result
    EXPECT_FALSE(plugins_.Protocol().Write("abcd", 4, &moved));
    EXPECT_EQ(moved, std::min<DWORD>(claimed, 4));
    plugin_->answer = 0x80;
    EXPECT_TRUE(plugins_.Protocol().Read(buffer, 4, &moved));
    EXPECT_EQ(moved, std::min<DWORD>(claimed, 4));
  }
  plugin_->TakeLog();
  plugins_.Protocol().Notify(ProtocolEvent::QuerySent);
  plugins_.Protocol().SpecialOperation("Reader", "Type", 2, "xy", 2);
  EXPECT_EQ(plugin_->TakeLog(), "18 special-xy2RT ");
  plugins_.Unload();
  EXPECT_FALSE(plugins_.Protocol().Write("abcd", 4, &moved) || moved != 0);
  EXPECT_EQ(plugins_.Protocol().SpecialOperation("", "", 1, "", 0), 0x10070u);
}

TEST_F(PortPluginsTest, LoadsOnceForEachName) {
  plugins_.Monitor().Load("Labels", "IP_1", connection_);
  Ensure();
  Ensure();
  EXPECT_EQ(plugin_->TakeLog(), "entry-2 1 protocol-1 1 capabilities ");
  plugins_.PrinterRenamed("Other");
  EXPECT_EQ(plugin_->TakeLog(), "");
  Ensure("Labels");  // as a job that began meanwhile
  Ensure("Other");
  EXPECT_EQ(plugin_->TakeLog(), "protocol-1 1 capabilities ");
  plugins_.PrinterRenamed("Bare");
  Ensure("Bare");
  Ensure("Bare");
  EXPECT_FALSE(plugins_.Protocol().IsLoaded());
  EXPECT_EQ(plugin_->TakeLog(), "");
  spooler_.printers["Bare"] = spooler_.printers["Labels"];  // gets a driver
  ThreadLocalSlot::DestroyObjects();
  plugins_.PrinterRenamed("Bare");
  Ensure("Bare");
  EXPECT_EQ(plugin_->TakeLog(), "protocol-1 1 capabilities ");
  // A name that comes while the plug-in is loaded has not been tried.
  plugin_->onCall = [&](const std::string& function, PortwiseBlock*) {
    if (function == "protocol-1") plugins_.PrinterRenamed("Labels");
    if (function == "1") Ensure("Labels");  // leads back here, and does not wait
  };
  plugins_.PrinterRenamed("Other");
  Ensure("Other");
  plugin_->onCall = nullptr;
  plugin_->TakeLog();
  Ensure("Labels");
  EXPECT_EQ(plugin_->TakeLog(), "protocol-1 1 capabilities ");
}

TEST_F(PortPluginsTest, CallsAndUnloadingMeet) {
  std::atomic<bool> over = false;
  std::atomic<int> inside = 0, told = 0;
  plugin_->onCall = [&](const std::string& function, PortwiseBlock* block) {
    if (function == "1") told = 1;
    if (function == "2") {
      EXPECT_EQ(inside, 0);  // goodbye is said when nobody is inside
      told = 0;
    }
    if (function != "14") return;
    ++inside;
    EXPECT_EQ(told, 1);
    const void* request = nullptr;
    DWORD length = 0;
    if (PortwiseLastRequest(block, &request, &length)) {
      EXPECT_EQ(std::string(static_cast<const char*>(request), length), std::string(length, 'q'));
    }
    block->control(block, 301, "<a/>", nullptr, 0);
    std::this_thread::sleep_for(std::chrono::microseconds(100));  // so that somebody is mostly inside
    --inside;
  };
  std::vector<std::thread> callers;
  for (int i = 0; i < 3; ++i) {
    callers.emplace_back([&, i] {
      for (size_t length = 1; !over; length = length % 4000 + 1) {
        plugins_.Monitor().Notify(PluginEvent::PageOpened);
        if (i == 0) plugins_.Monitor().RememberRequest(std::string(length, 'q'), "p");
        if (i == 1) plugins_.Monitor().ForgetRequest();
      }
      ThreadLocalSlot::DestroyObjects();
    });
  }
  for (int round = 0; round < 200; ++round) {
    plugins_.Monitor().Load(round % 2 ? "Labels" : "Other", "IP_1", connection_);
    if (round % 3 != 0) continue;
    plugins_.Unload();
    EXPECT_TRUE(inside == 0 && told == 0);  // it has waited
  }
  over = true;
  for (std::thread& caller : callers) caller.join();
  plugins_.Unload();
  EXPECT_EQ(told, 0);
}

TEST_F(PortPluginsTest, ACallMayUnloadThePluginThatItIsIn) {
  plugin_->onCall = [&](const std::string& function, PortwiseBlock*) {
    if (function == "14") plugins_.Monitor().Unload();
    if (function == "15") plugins_.Monitor().Notify(PluginEvent::PageOpened);
  };
  for (const PluginEvent event : {PluginEvent::PageOpened, PluginEvent::PageClosed}) {
    plugins_.Monitor().Load("Labels", "IP_1", connection_);
    plugins_.Monitor().Notify(event);
    EXPECT_FALSE(plugins_.Monitor().IsLoaded());
  }
  EXPECT_EQ(plugin_->TakeLog(), "entry-2 1 14 2 entry-2 1 15 14 2 ");
}

TEST_F(PortPluginsTest, AFaultEndsTheCallAndNothingElse) {
  plugin_->onCall = [](const std::string& function, PortwiseBlock* block) {
    DWORD written = 1;
    if (function == "15") {
      EXPECT_TRUE(block->write(block, "abcd", 4, &written) == 0 && written == 0);
    }
    if (function == "14" || function == "2") ReadNull();
  };
  connection_.onWrite = ReadNull;
  plugins_.Monitor().Load("Labels", "IP_1", connection_);
  OExceptionHandler guard("Test", OExceptionHandler::kSetLastError);
  const BOOL passed = RunGuarded(guard, [&]() -> BOOL {
    plugins_.Monitor().Notify(PluginEvent::PageOpened);
    return TRUE;
  });
  EXPECT_FALSE(passed);
  plugins_.Monitor().Notify(PluginEvent::PageClosed);
  const DWORD start = GetTickCount();
  plugins_.Monitor().Unload();
  EXPECT_LT(GetTickCount() - start, 4000u);  // nobody is inside
  EXPECT_EQ(plugin_->TakeLog(), "entry-2 1 14 15 2 ");
}

TEST_F(PortPluginsTest, ACallThatNeverEndsIsLeftWithoutTheConnection) {
  platform::SetTimeScale(20);
  std::atomic<int> stage = 0;
  DWORD late = 1;
  plugin_->onCall = [&](const std::string& function, PortwiseBlock* block) {
    if (function != "14") return;
    stage = 1;
    while (stage != 2) std::this_thread::yield();
    late = block->check(block, STATUS_DISCONNECTED);
  };
  plugins_.Monitor().Load("Labels", "IP_1", connection_);
  std::thread caller([&] {
    plugins_.Monitor().Notify(PluginEvent::PageOpened);
    ThreadLocalSlot::DestroyObjects();
  });
  while (stage != 1) std::this_thread::yield();
  plugins_.Monitor().Unload();
  EXPECT_EQ(plugin_->TakeLog(), "entry-2 1 14 ");
  stage = 2;
  caller.join();
  EXPECT_EQ(late, 0u);
  EXPECT_EQ(plugin_->TakeLog(), "2 ");
  platform::SetTimeScale(1);
}

}  // namespace
}  // namespace portwise
