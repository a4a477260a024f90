#include "tests/support/files.h"
#include "tests/support/monitor_fixture.h"

namespace portwise {
namespace {

class Diagnostics : public MonitorFixture {
 protected:
  std::string Log() { return ReadBytes(home_.Drive() / "MonitorLog.txt"); }

  ORegistry switches_{"GLOBAL:Development"};
};

TEST_F(Diagnostics, LogEveryCallWithTheNumberOfThePort) {
  switches_.SetBool("Monitor Log API Calls", true);
  const HANDLE first = Open("FILE:"), second = Open("FILE:");
  DWORD count = 0;
  BYTE byte = 'x';
  Start(first, 1);
  Write(first, "x");
  lmReadPortW(first, &byte, 1, &count);
  lmGetPrinterDataFromPortW(first, 0, nullptr, nullptr, 0, nullptr, 0, &count);
  lmEndDocPortW(first);
  lmClosePortW(first);
  lmClosePortW(second);
  EXPECT_EQ(Log(),
            "0001\tlmOpenPortEx2W\tEntry\r\n0001\tlmOpenPortEx2W\tEntry\r\n0002\tlmStartDocPortW\tEntry\r\n"
            "0003\tlmWritePortW\tEntry\r\n0004\tlmReadPortW\tEntry\r\n0005\tlmGetPrinterDataFromPortW\tEntry\r\n"
            "0006\tlmEndDocPortW\tEntry\r\n0007\tlmClosePortW\tEntry\r\n0002\tlmClosePortW\tEntry\r\n");
}

TEST_F(Diagnostics, TakeEffectAtTheNextJobAndNumberOnPastFourDigits) {
  const HANDLE port = Open("FILE:");
  switches_.SetBool("Monitor Log API Calls", true);
  switches_.SetBool("Monitor Save Read Data", true);
  DWORD count = 0;
  BYTE buffer[] = {'o', 'l', 'd'};
  lmReadPortW(port, buffer, sizeof buffer, &count);
  EXPECT_EQ(Log(), "");
  Start(port, 1);
  buffer[0] = 'O';
  for (int i = 0; i < 10000; ++i) static_cast<PortContext*>(port)->Diagnostics().SaveReadBuffer(nullptr, 0);
  lmReadPortW(port, buffer, sizeof buffer, &count);
  EXPECT_EQ(buffer[0], 'r') << "the read itself goes on";
  EXPECT_EQ(ReadBytes(home_.Drive() / "Monitor/Read/Data10001.txt"), "Old") << "what the buffer held before it";
  EXPECT_EQ(Log(), "0001\tlmReadPortW\tEntry\r\n");
}

}  // namespace
}  // namespace portwise
