#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "monitor/entry_points.h"
#include "monitor/port_list.h"
#include "platform/home.h"
#include "settings/registry.h"
#include "tests/support/fake_port_monitor.h"
#include "tests/support/temporary_home.h"

namespace portwise {
namespace {

std::string Content(const WCHAR* path) {
  std::ifstream file(platform::LinuxPath(path), std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

class Diagnostics : public ::testing::Test {
 protected:
  Diagnostics() { CreatePortList(); }
  ~Diagnostics() override { DestroyPortList(); }

  HANDLE Open() {
    WCHAR port[] = TEXT("FILE:"), printer[] = TEXT("Labels");
    HANDLE handle = nullptr;
    lmOpenPortEx2W(MonitorTable(), below_.Monitor(), port, printer, &handle, &below_.table);
    return handle;
  }
  void Start(HANDLE port) {
    WCHAR document[] = TEXT("d"), printer[] = TEXT("Labels");
    DOC_INFO_1W info = {document, nullptr, nullptr};
    lmStartDocPortW(port, printer, 1, 1, reinterpret_cast<LPBYTE>(&info));
  }

  TemporaryHome home_;
  FakePortMonitor below_;
  ORegistry switches_{"GLOBAL:Development"};
};

TEST_F(Diagnostics, LogEveryCallWithTheNumberOfThePort) {
  switches_.SetBool("Monitor Log API Calls", true);
  const HANDLE first = Open(), second = Open();
  Start(first);
  DWORD count = 0;
  BYTE byte = 'x';
  lmWritePortW(first, &byte, 1, &count);
  lmReadPortW(first, &byte, 1, &count);
  lmGetPrinterDataFromPortW(first, 0, nullptr, nullptr, 0, nullptr, 0, &count);
  lmEndDocPortW(first);
  lmClosePortW(first);
  lmClosePortW(second);
  EXPECT_EQ(Content(TEXT("C:\\MonitorLog.txt")),
            "0001\tlmOpenPortEx2W\tEntry\r\n0001\tlmOpenPortEx2W\tEntry\r\n0002\tlmStartDocPortW\tEntry\r\n"
            "0003\tlmWritePortW\tEntry\r\n0004\tlmReadPortW\tEntry\r\n0005\tlmGetPrinterDataFromPortW\tEntry\r\n"
            "0006\tlmEndDocPortW\tEntry\r\n0007\tlmClosePortW\tEntry\r\n0002\tlmClosePortW\tEntry\r\n");
}

TEST_F(Diagnostics, TakeEffectAtTheNextJobAndNumberOnPastFourDigits) {
  const HANDLE port = Open();
  switches_.SetBool("Monitor Log API Calls", true);
  switches_.SetBool("Monitor Save Read Data", true);
  DWORD count = 0;
  BYTE buffer[] = {'o', 'l', 'd'};
  lmReadPortW(port, buffer, sizeof buffer, &count);
  EXPECT_FALSE(std::filesystem::exists(platform::LinuxPath(TEXT("C:\\MonitorLog.txt"))));
  Start(port);
  buffer[0] = 'O';
  for (int i = 0; i < 10000; ++i) static_cast<PortContext*>(port)->Diagnostics().SaveReadBuffer(nullptr, 0);
  lmReadPortW(port, buffer, sizeof buffer, &count);
  EXPECT_EQ(buffer[0], 'r') << "the read itself goes on";
  EXPECT_EQ(Content(TEXT("C:\\Monitor\\Read\\Data10001.txt")), "Old") << "what the buffer held before it";
  EXPECT_EQ(Content(TEXT("C:\\MonitorLog.txt")), "0001\tlmReadPortW\tEntry\r\n");
}

}  // namespace
}  // namespace portwise
