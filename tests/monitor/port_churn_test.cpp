#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "connection/port_discovery.h"
#include "monitor/entry_points.h"
#include "monitor/port_list.h"
#include "tests/support/fake_port_link.h"
#include "tests/support/fake_port_monitor.h"
#include "tests/support/fake_printer.h"
#include "tests/support/fake_spooler.h"
#include "tests/support/holdings.h"
#include "tests/support/temporary_home.h"
#include "tests/support/wine.h"

namespace portwise {
namespace {

TEST(PortChurn, NothingStaysBehindOfTenThousandOpens) {
  const int kRounds = IsWine() ? 3000 : 10000;  // there it takes much longer
  const TemporaryHome home;
  FakeSpooler spooler;
  FakePortMonitor below;
  CreatePortList();
  FakePrinter printer, silent;
  silent.Refuse();
  RegisterPort("IP_1", "", "127.0.0.1", printer.Port());
  RegisterPort("IP_2", "", "127.0.0.1", printer.Port(), kProtocolLpr);
  RegisterPort("IP_3", "localhost", "", silent.Port());
  std::atomic<bool> over = false;
  std::atomic<int> labels = 0;
  std::thread prints([&] {
    while (!over) {
      if (!printer.Accept(20)) continue;
      // A label, or nothing of a port that is closed before its document ends.
      labels += printer.Receive(100) == "label" ? 1 : 0;
      printer.Close();
    }
  });

  WCHAR names[][6] = {TEXT("IP_1"), TEXT("IP_2"), TEXT("IP_3"), TEXT("COM1:"), TEXT("LPT1:"), TEXT("FILE:")};
  WCHAR labelPrinter[] = TEXT("Labels");
  BYTE label[] = {'l', 'a', 'b', 'e', 'l'};
  DOC_INFO_1W document = {labelPrinter, nullptr, nullptr};
  Holdings before;
  int sent = 0;
  for (int round = 0; round < kRounds; ++round) {
    if (round == 100) before = Holdings();  // what is made once is there by now
    const int kind = round % 6;
    // With a document, without one, with one that is never ended, or refused by the monitor below.
    const int way = round / 6 % 4;
    below.refuseOpen = way == 3;
    HANDLE port = nullptr;
    const bool isTcp = kind == 0 || kind == 2;
    const BOOL opened = lmOpenPortEx2W(MonitorTable(), below.Monitor(), names[kind], labelPrinter, &port, &below.table);
    ASSERT_EQ(opened, way != 3 || isTcp) << round;
    if (!opened) continue;
    // A port that refuses connects takes its time for that.
    if (way == 0 && (kind != 2 || round < 50)) {
      const BOOL started = lmStartDocPortW(port, labelPrinter, 1, 1, reinterpret_cast<LPBYTE>(&document));
      ASSERT_EQ(started, kind != 2) << round;
      DWORD written = 0;
      if (started) {
        ASSERT_TRUE(lmWritePortW(port, label, sizeof label, &written));
        sent += kind == 0 ? 1 : 0;
        ASSERT_TRUE(lmEndDocPortW(port));
      }
    } else if (way == 2 && kind != 2) {
      ASSERT_TRUE(lmStartDocPortW(port, labelPrinter, 1, 1, reinterpret_cast<LPBYTE>(&document)));
    }
    ASSERT_TRUE(lmClosePortW(port)) << round;
    below.calls.clear();
  }
  // The last thread may still be on its way out, as one may have been before.
  for (int i = 0; i < 200 && (Holdings().threads > before.threads || Holdings().handles > before.handles); ++i)
    Sleep(10);
  EXPECT_LE(Holdings().handles, before.handles);
  EXPECT_LE(Holdings().threads, before.threads);
  EXPECT_EQ(Holdings().ports, 0);
  over = true;
  prints.join();
  printer.Close();
  // The printer's end of the last connection may still have been open before.
  EXPECT_LE(Holdings().files, before.files);
  EXPECT_GT(sent, kRounds / 25);
  EXPECT_EQ(labels, sent);
  DestroyPortList();
}

}  // namespace
}  // namespace portwise
