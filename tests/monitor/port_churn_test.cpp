#include <atomic>
#include <thread>

#include "connection/port_discovery.h"
#include "tests/support/fake_printer.h"
#include "tests/support/holdings.h"
#include "tests/support/monitor_fixture.h"
#include "tests/support/wine.h"

namespace portwise {
namespace {

using PortChurn = MonitorFixture;

TEST_F(PortChurn, NothingStaysBehindOfTenThousandOpens) {
  const int kRounds = IsWine() ? 1000 : 10000;  // there it takes much longer
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

  const char* const names[] = {"IP_1", "IP_2", "IP_3", "COM1:", "LPT1:", "FILE:"};
  Holdings before;
  int sent = 0;
  for (int round = 0; round < kRounds; ++round) {
    if (round == 100) before = Holdings();  // what is made once is there by now
    const int kind = round % 6;
    // With a document, without one, with one that is never ended, or refused by the monitor below.
    const int way = round / 6 % 4;
    below_.refuseOpen = way == 3;
    const bool isTcp = kind == 0 || kind == 2;
    const HANDLE port = Open(names[kind]);
    ASSERT_EQ(port != nullptr, way != 3 || isTcp) << round;
    if (!port) continue;
    // A port that refuses connects takes its time for that.
    if (way == 0 && (kind != 2 || round < 50)) {
      ASSERT_EQ(Print(port, 1, "label"), kind != 2) << round;
      sent += kind == 0 ? 1 : 0;
    } else if (way == 2 && kind != 2) {
      ASSERT_TRUE(Start(port, 1));
    }
    ASSERT_TRUE(lmClosePortW(port)) << round;
    below_.calls.clear();
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
}

}  // namespace
}  // namespace portwise
