#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>

#include "connection/connection.h"
#include "core/handles.h"
#include "core/thread_local_singleton.h"
#include "platform/kernel/modules.h"
#include "plugin/plugin_loader.h"
#include "tests/support/fake_port_link.h"
#include "tests/support/fake_spooler.h"
#include "tests/support/temporary_home.h"
#include "tests/support/test_plugin.h"

namespace portwise {

/// A connection that takes and delivers all but the last byte, or does what the test says instead.
class PluginConnection : public Connection {
 public:
  explicit PluginConnection(ConnectionKind kind = ConnectionKind::Tcp) : Connection(kind) { SetPortContext(&port); }

  bool Write(const void* data, DWORD length, DWORD* written) override {
    if (onWrite) onWrite();
    *written = length - 1;
    received.assign(static_cast<const char*>(data), *written);
    return true;
  }
  bool Read(void* buffer, DWORD size, DWORD* read) override {
    *read = size - 1;
    std::fill_n(static_cast<char*>(buffer), *read, 'r');
    return true;
  }
  DWORD GetStatus(DWORD mask) override { return mask & STATUS_DISCONNECTED; }

  FakePortLink port{"IP_1"};
  std::string received;
  std::function<void()> onWrite;
};

/// Printers "Labels" and "Other" with one driver, and "Bare" without one.
class PluginFixture : public testing::Test {
 protected:
  PluginFixture() {
    std::filesystem::create_directory(Folder());
    const nlohmann::json driver{{"file", Folder() + "/driver.dll"}, {"dataFile", "ABCDE.DAT"}};
    for (const char* name : {"Labels", "Other"}) spooler_.printers[name] = {"IP_1", "", {{"driver", "D"}}, driver};
    spooler_.printers["Bare"] = {"IP_1", ""};
  }
  ~PluginFixture() override {
    if (own_) plugin_->onCall = nullptr;
    ThreadLocalSlot::DestroyObjects();  // what this thread knows about printers
  }

  std::string Folder() const { return home_.Path().string() + "/Driver"; }
  OString File() const { return OString(Folder() + "/de#abc-u.dll"); }

  /// Puts the test plug-in with this version of the table beside the driver; 0 has no entry points.
  void Install(int version) {
    own_.Reset();
    std::filesystem::remove(File().Narrow());  // a loaded library is never written over
    const std::string built[] = {TEST_PLUGIN_0, TEST_PLUGIN_1, TEST_PLUGIN_2};
    std::filesystem::copy_file(std::string(platform::LibraryFolder()) + "/" + built[version], File().Narrow());
    own_.Reset(LoadLibraryW(File().Wide()));
    const auto state = PluginEntry<TestPlugin* (*)()>(own_, "TestPluginState");
    ASSERT_NE(state, nullptr);
    plugin_ = state();
  }

  TemporaryHome home_;
  FakeSpooler spooler_;
  PluginConnection connection_;
  unique_module own_;
  TestPlugin* plugin_ = nullptr;
};

}  // namespace portwise
