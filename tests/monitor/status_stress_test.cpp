#include <atomic>
#include <chrono>
#include <random>
#include <shared_mutex>
#include <thread>
#include <vector>

#include "tests/support/holdings.h"
#include "tests/support/monitor_fixture.h"
#include "tests/support/printer_program.h"

namespace portwise {
namespace {

using Clock = std::chrono::steady_clock;

/// A port that its spooler opens and closes again and again, with a printer of its own.
struct Lane {
  explicit Lane(LONG monitoringMode) : mode(monitoringMode) {}

  const LONG mode;
  PrinterProgram printer{""};
  std::shared_mutex use;  // held while the handle is used; what is in use is not closed
  HANDLE port = nullptr;
  int opened = 0, printed = 0;
  Clock::duration longestClose{};

  OString Name(const char* kind) const { return OString(kind) + std::to_string(mode).c_str(); }
};

class StatusStressTest : public MonitorFixture {
 protected:
  StatusStressTest() {
    below_.table = {};
    below_.table.cbSize = sizeof below_.table;
    const std::string folder = REFERENCE_FOLDER;
    for (Lane& lane : lanes_) {
      const OString port = lane.Name("IP_"), printer = lane.Name("Labels");
      RegisterPort(port, "", "127.0.0.1", lane.printer.Port());
      spooler_.printers[printer.Narrow()] = {port.Narrow(),
                                             "",
                                             {{"driver", "Simple"}, {"attributes", PRINTER_ATTRIBUTE_ENABLE_BIDI}},
                                             {{"file", folder + "/r.dll"}, {"dataFile", folder + "/SIMPR.DAT"}}};
      ORegistry settings;
      settings.SetBasePath(OString("PRINT:Printers/") + printer + "/PrinterDriverData/Settings/Status");
      settings.SetDword("Status Monitoring Mode", static_cast<DWORD>(lane.mode));
      settings.SetDword("Active Polling Interval", 50);
      settings.SetDword("Idle Polling Interval", 100);
      settings.SetDword("Response Timeout", 3000);
    }
    platform::SetTimeScale(20);
  }

  /// Opens the port, prints perhaps, and closes it somewhere in a cycle.
  void Round(Lane& lane, unsigned chance) {
    const HANDLE port = Open(lane.Name("IP_"), lane.Name("Labels"));
    ASSERT_TRUE(port);
    ++lane.opened;
    {
      const std::lock_guard lock(lane.use);
      lane.port = port;
    }
    std::this_thread::sleep_for(std::chrono::microseconds(chance % 30000));
    if (chance % 6 == 0) Print(lane, chance % 12 == 0);
    {
      const std::lock_guard lock(lane.use);
      lane.port = nullptr;
    }
    const Clock::time_point begin = Clock::now();
    ASSERT_TRUE(lmClosePortW(port));
    lane.longestClose = std::max(lane.longestClose, Clock::now() - begin);
  }

  static void Print(Lane& lane, bool withQuery) {
    const std::string query = withQuery ? "<xpml><query action='execute' name='n'>\x1b?ST\r\n</query></xpml>" : "";
    ASSERT_TRUE(Start(lane.port, 1, lane.Name("Labels")));
    lane.printed += Write(lane.port, query + "label") && lmEndDocPortW(lane.port);
  }

  /// What clients and the rest of the system do to open ports meanwhile.
  void Disturb(unsigned seed) {
    const char* const requests[] = {
        "<query id='q' name='q'><request id='r' name='r' expirationTime='500'>\x1b?ST\r\n</request></query>",
        "<query id='q' name='q'><request id='s' name='s' parameters='write=false;' expirationTime='300'/></query>",
        "<query id='*' action='cancel'/>",
        "<query id='*' action='retry'/>",
        "<request query='q' id='*' get='dump'/>",
    };
    std::mt19937 random(seed);
    for (; !over_; std::this_thread::sleep_for(std::chrono::microseconds(random() % 2000))) {
      Lane& lane = lanes_[random() % std::size(lanes_)];
      const std::shared_lock lock(lane.use);
      if (lane.port == nullptr) continue;
      const OString request = requests[random() % std::size(requests)];
      char reply[1000];
      DWORD length = 0;
      lmGetPrinterDataFromPortW(lane.port, 0, const_cast<LPWSTR>(request.Wide()), nullptr, 0,
                                reinterpret_cast<LPWSTR>(reply), sizeof reply, &length);
      answers_ += std::string_view(reply, std::min<size_t>(length, sizeof reply)).find("Complete") != std::string::npos;
      auto& port = *static_cast<PortContext*>(lane.port);
      port.StatusWatch().NoteStatusRead();
      statuses_ += port.Publisher().Current() == PrinterStatus(1);
      if (random() % 500 == 0) port.StatusWatch().SetStatusOffline();
    }
  }

  Lane lanes_[3] = {Lane(1), Lane(2), Lane(3)};
  std::atomic<bool> over_ = false;
  std::atomic<int> answers_ = 0, statuses_ = 0;
};

TEST_F(StatusStressTest, PortsCloseWhereverTheirThreadsAre) {
  constexpr int kRounds = 1000 / 3 + 1;
  constexpr int kWarmUp = 8;  // what is made once is there then
  for (Lane& lane : lanes_) {
    for (unsigned round = 0; round < kWarmUp; ++round) Round(lane, 29999 - round);
  }
  const Holdings before;
  std::vector<std::thread> threads;
  for (unsigned seed = 1; seed <= 2; ++seed) threads.emplace_back([this, seed] { Disturb(seed); });
  std::vector<std::thread> spoolers;
  for (Lane& lane : lanes_) {
    spoolers.emplace_back([this, &lane] {
      std::mt19937 random(static_cast<unsigned>(lane.mode));
      while (lane.opened < kWarmUp + kRounds && !HasFatalFailure()) Round(lane, static_cast<unsigned>(random()));
    });
  }
  for (std::thread& thread : spoolers) thread.join();
  over_ = true;
  for (std::thread& thread : threads) thread.join();

  Holdings after;
  // For a moment the system still shows a thread that was joined.
  for (int i = 0; i < 100 && after.threads > before.threads; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    after = Holdings();
  }
  EXPECT_EQ(after.handles, before.handles);
  EXPECT_LE(after.threads, before.threads);
  // Ended waits may keep descriptors for later ones, up to this many in all.
  constexpr std::size_t kSpares = 32;
  EXPECT_LE(after.files, before.files + kSpares);
  EXPECT_EQ(after.ports, 0);
  for (const Lane& lane : lanes_) {
    EXPECT_GT(lane.printed, kRounds / 12) << lane.mode;
    EXPECT_LT(lane.longestClose, std::chrono::seconds(5)) << lane.mode;
  }
  // The disturbance was felt: requests were answered, and statuses came from the printer.
  EXPECT_GT(answers_, 10);
  EXPECT_GT(statuses_, 10);
}

}  // namespace
}  // namespace portwise
