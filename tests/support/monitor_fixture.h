#pragma once

#include <gtest/gtest.h>

#include <string_view>

#include "core/thread_local_singleton.h"
#include "monitor/entry_points.h"
#include "monitor/port_context.h"
#include "monitor/port_list.h"
#include "platform/test_clock.h"
#include "settings/registry.h"
#include "tests/support/fake_port_link.h"
#include "tests/support/fake_port_monitor.h"
#include "tests/support/fake_spooler.h"
#include "tests/support/last_error.h"
#include "tests/support/temporary_home.h"
#include "xpml/port/command_table.h"

namespace portwise {

/// The monitor as a spooler sees it: through its seven operations, over a port monitor that the test scripts.
class MonitorFixture : public ::testing::Test {
 protected:
  MonitorFixture() {
    SetPortCommands(&commands_);
    CreatePortList();
    platform::SetTickCount(0xFFFFF000);  // the count wraps while a test runs
    // This thread must not take the printers of the last test for those of this one.
    ThreadLocalSlot::DestroyObjects();
  }
  ~MonitorFixture() override {
    DestroyPortList();
    SetPortCommands(nullptr);
    platform::SetTimeScale(1);
  }

  HANDLE Open(OString port, OString printer = "Labels") {
    HANDLE handle = nullptr;
    const BOOL opened = lmOpenPortEx2W(MonitorTable(), below_.Monitor(), const_cast<LPWSTR>(port.Wide()),
                                       const_cast<LPWSTR>(printer.Wide()), &handle, &below_.table);
    return opened ? handle : nullptr;
  }

  static BOOL Start(HANDLE port, DWORD job, OString printer = "Labels") {
    WCHAR document[] = TEXT("document");
    DOC_INFO_1W info = {document, nullptr, nullptr};
    return lmStartDocPortW(port, const_cast<LPWSTR>(printer.Wide()), job, 1, reinterpret_cast<LPBYTE>(&info));
  }

  static BOOL Write(HANDLE port, std::string_view data, DWORD* written = nullptr) {
    DWORD ignored = 0;
    return lmWritePortW(port, reinterpret_cast<LPBYTE>(const_cast<char*>(data.data())), static_cast<DWORD>(data.size()),
                        written ? written : &ignored);
  }

  static bool Print(HANDLE port, DWORD job, std::string_view data) {
    return Start(port, job) && Write(port, data) && lmEndDocPortW(port);
  }

  static void AddTcpPort(const char* name, unsigned tcpPort) { RegisterPort(name, "", "127.0.0.1", tcpPort); }

  /// A setting of the printer "Labels", by its path below "Settings:".
  static OString Setting(const char* path) {
    return OString("PRINT:Printers/Labels/PrinterDriverData/Settings/") + path;
  }

  TemporaryHome home_;
  FakeSpooler spooler_;
  FakePortMonitor below_;
  CommandTable commands_;
};

}  // namespace portwise
