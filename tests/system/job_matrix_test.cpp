// What becomes of a job when its printer, its spooler or its owner interferes: faults in rows, ways to the printer in
// columns. The jobs of a table run side by side, each with a printer of its own.

#include <gmock/gmock.h>
#include <signal.h>
#include <string.h>

#include <algorithm>
#include <atomic>
#include <optional>
#include <thread>

#include "tests/support/print_lane.h"

namespace portwise::test {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using Json = nlohmann::json;

constexpr char kPage[] = "<xpml><page quantity='1' pitch='2in'/></xpml>";
constexpr char kEnd[] = "<xpml><end/></xpml>";

/// What of a job's bytes came, in which order.
enum class Arrival {
  Nothing,
  Whole,  ///< over one connection
  Start,  ///< the first bytes and no more, if any
  Once,   ///< pieces in their order, something between them may be missing, nothing came twice
  Again,  ///< such pieces, and then the whole
};

struct Expected {
  Arrival arrival;
  const char* state;
  const char* shown;     ///< in what `portwise jobs` says
  const char* record;    ///< pages,warnings,errors,status of the jobs log, as a regular expression
  const char* events;    ///< of the events log
  const char* warnings;  ///< in the event log; empty for none
};

struct Row {
  const char* name;
  std::vector<std::string> steps;
  Expected network;
  std::optional<Expected> device = {};  ///< as the network's when there is none
};

/// True when the pieces occur in the whole one behind the other.
bool InOrder(const std::vector<std::string>& pieces, const std::string& whole) {
  std::string_view rest = whole;
  for (const std::string& piece : pieces) {
    // In linear time: the pieces are megabytes, and a sanitizer looks at all the bytes of each comparison.
    const void* found = memmem(rest.data(), rest.size(), piece.data(), piece.size());
    if (!found) return false;
    rest.remove_prefix(static_cast<const char*>(found) - rest.data() + piece.size());
  }
  return true;
}

bool Arrived(Arrival arrival, std::vector<std::string> pieces, const std::string& whole) {
  switch (arrival) {
    case Arrival::Nothing:
      return pieces.empty();
    case Arrival::Whole:
      return pieces == std::vector{whole};
    case Arrival::Start:
      return pieces.empty() || (pieces.size() == 1 && pieces[0] != whole && whole.starts_with(pieces[0]));
    case Arrival::Once:
      return InOrder(pieces, whole);
    case Arrival::Again:
      if (pieces.empty() || !pieces.back().ends_with(whole)) return false;
      // A device stays open from one run to the next.
      pieces.back().resize(pieces.back().size() - whole.size());
      return InOrder(pieces, whole);
  }
  return false;
}

std::string Sizes(const std::vector<std::string>& pieces) {
  std::string sizes;
  for (const std::string& piece : pieces) sizes += " " + std::to_string(piece.size());
  return sizes;
}

void Judge(const JobTrace& trace, const Expected& expected, const std::string& whole, const std::string& warnings) {
  EXPECT_TRUE(Arrived(expected.arrival, trace.arrived, whole)) << Sizes(trace.arrived) << " of " << whole.size();
  EXPECT_EQ(trace.state, expected.state) << trace.shown;
  EXPECT_THAT(trace.shown, HasSubstr(expected.shown));
  EXPECT_THAT(trace.record, MatchesRegex(expected.record));
  EXPECT_EQ(trace.events, expected.events);
  const std::string wanted = expected.warnings;
  EXPECT_TRUE(wanted.empty() ? warnings.empty() : warnings.find(wanted) != wanted.npos) << warnings;
}

struct Cell {
  std::unique_ptr<PrintLane> lane;
  const Row* row;
  const Expected* expected;
  std::string whole;
  JobTrace trace;
};

class JobMatrix : public testing::Test {
 protected:
  JobMatrix() : home_("portwise.dll") { EXPECT_TRUE(home_.Start()) << home_.Errors(); }

  std::unique_ptr<PrintLane> Network(const std::string& name) {
    return std::make_unique<PrintLane>(home_, name, MakeNetworkPeer(home_.File("at-" + name), "--buffer 65536"));
  }
  std::unique_ptr<PrintLane> Device(const std::string& name) {
    return std::make_unique<PrintLane>(home_, name, MakeDevicePeer(home_.File("at-" + name)));
  }

  template <class Rows>
  std::vector<Cell> CellsOf(const Rows& rows) {
    // More than what lies between the spooler and a printer that does not read.
    const std::string network = Payload(8000000, 1), device = network.substr(0, 300000);
    std::vector<Cell> cells;
    for (const Row& row : rows) {
      const std::string number = std::to_string(cells.size());
      cells.push_back({Network("tcp" + number), &row, &row.network, network, {}});
      cells.push_back({Device("usb" + number), &row, row.device ? &*row.device : &row.network, device, {}});
    }
    return cells;
  }

  /// The steps before `until`, or those behind it and all of those that have none, of all cells side by side.
  static void Carry(std::vector<Cell>& cells, const std::string& until = {}) {
    std::vector<std::jthread> threads;
    for (Cell& cell : cells) {
      threads.emplace_back([&cell, &until] {
        const auto& steps = cell.row->steps;
        const auto stop = std::find(steps.begin(), steps.end(), until);
        // Those before the stop, or, without one to stop at, those behind the kill.
        auto begin = steps.begin();
        if (until.empty()) begin = std::find(begin, steps.end(), "kill");
        if (begin == steps.end()) begin = steps.begin();
        for (; begin != stop; ++begin) {
          if (*begin == "kill") continue;
          if (!cell.lane->Carry(*begin, kPage + cell.whole + kEnd)) break;
        }
        if (until.empty()) cell.trace = cell.lane->Trace();
      });
    }
  }

  static void JudgeAll(const std::vector<Cell>& cells) {
    const Json entries = Json::parse(RunProgram("portwise events --json").output);
    for (const Cell& cell : cells) {
      SCOPED_TRACE(std::string(cell.row->name) + ", " + cell.lane->Name());
      Judge(cell.trace, *cell.expected, cell.whole, WarningsOf(entries, cell.lane->Job()));
    }
  }

  SpoolerHome home_;
};

constexpr Expected kPrinted = {Arrival::Whole, "printed", "", "1,0,0,completed", "100 102 103 101", ""};
constexpr Expected kDeleted = {Arrival::Start, "deleted", "", "1,0,0,unknown", "100 102 103 101", ""};
constexpr Expected kInterrupted = {Arrival::Start, "held", "interrupted after ", "", "100 102 103", ""};
constexpr Expected kResumed = {Arrival::Again, "printed", "", "1,0,0,completed", "100 102 103 100 102 103 101", ""};
constexpr Expected kNeverBegun = {Arrival::Nothing, "deleted", "", "", "", ""};
constexpr Expected kLost = {Arrival::Once,     "held",
                            "did not confirm", "1,0,0,unknown",
                            "100 102 103 101", "was lost, or left without an answer"};
constexpr Expected kGone = {
    Arrival::Once, "held", "the device went away after", "1,0,0,unknown", "100 102 103 101", "could not be delivered"};

TEST_F(JobMatrix, PrinterAndOwnerInterfere) {
  const Row kRows[] = {
      {"nothing happens", {"print", "await printed"}, kPrinted},
      {"stops reading and goes on", {"stick", "printer resume", "await printed"}, kPrinted},
      {"stops reading, the job is deleted", {"stick", "job cancel", "await deleted", "printer resume"}, kDeleted},
      {"stops reading, the job is paused, resumed",
       {"stick", "job pause", "printer resume", "await paused", "sleep 300", "job resume", "await printed"},
       kPrinted},
      {"stops reading, the job is paused, deleted",
       {"stick", "job pause", "await paused", "printer resume", "job cancel", "await deleted"},
       kDeleted},
      {"refuses, and takes it later",
       {"printer refuse", "print", "await waiting", "sleep 200", "printer ready", "await printed"},
       kPrinted},
      {"refuses, the job is deleted",
       {"printer refuse", "print", "await waiting", "job cancel", "await deleted", "printer ready"},
       kNeverBegun},
      {"paused before its turn, the printer comes and goes",
       {"printer refuse", "print", "job pause", "sleep 200", "printer ready", "sleep 200", "job resume",
        "await printed"},
       kPrinted},
      {"breaks off in mid-job", {"stick", "printer drop 0", "printer resume", "await held"}, kLost, kGone},
      {"off and on in mid-job",
       {"stick", "printer power off", "sleep 300", "printer ready", "await held"},
       kLost,
       kGone},
      {"off and on, held, printed again",
       {"stick", "printer power off", "sleep 300", "printer ready", "await held", "job resume", "await printed"},
       {Arrival::Again, "printed", "", "1,0,0,unknown;1,0,0,completed", "100 102 103 101 100 102 103 101", "was lost"},
       Expected{Arrival::Again, "printed", "", "1,0,0,unknown;1,0,0,completed", "100 102 103 101 100 102 103 101",
                "could not be delivered"}},
      {"off for good, the job is deleted",
       {"stick", "printer power off", "sleep 300", "job cancel", "await deleted", "printer ready"},
       kDeleted},
  };
  std::vector<Cell> cells = CellsOf(kRows);
  Carry(cells);
  JudgeAll(cells);
}

/// The number before the words "of its", as loss is told; 0 without one.
std::size_t ToldLoss(const std::string& text) {
  const auto end = text.find(" of its ");
  if (end == text.npos) return 0;
  return std::stoul(text.substr(text.rfind(' ', end - 1) + 1));
}

std::size_t ToldTaken(const std::string& text) {
  constexpr std::string_view kBegin = "went away after ";
  const auto begin = text.find(kBegin);
  return begin == text.npos ? 0 : std::stoul(text.substr(begin + kBegin.size()));
}

TEST_F(JobMatrix, PrinterBreaksOffAfterEachByte) {
  const std::string one = "first label\r\n\x1b!PG0001\r\n", two = "second\r\n\x1b!PG0001\r\n", whole = one + two;
  const std::string data = kPage + one + kPage + two + kEnd;
  constexpr std::size_t kLanes = 8;
  std::vector<std::unique_ptr<PrintLane>> lanes;
  for (std::size_t lane = 0; lane < kLanes; ++lane)
    lanes.push_back(lane % 2 == 0 ? Network("tcp" + std::to_string(lane)) : Device("usb" + std::to_string(lane)));
  std::vector<std::jthread> threads;
  std::atomic<unsigned> held = 0;
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    threads.emplace_back([&, lane] {
      for (std::size_t after = lane / 2; after <= whole.size(); after += kLanes / 2) {
        SCOPED_TRACE(lanes[lane]->Name() + " after " + std::to_string(after));
        for (const std::string& step :
             {"printer drop " + std::to_string(after), std::string("print"), std::string("await-end")})
          if (!lanes[lane]->Carry(step, data)) return;
        const JobTrace trace = lanes[lane]->Trace();
        EXPECT_TRUE(InOrder(trace.arrived, whole)) << testing::PrintToString(trace.arrived);
        std::size_t arrived = 0;
        for (const std::string& piece : trace.arrived) arrived += piece.size();
        EXPECT_TRUE(after == 0 || trace.arrived.at(0) == whole.substr(0, after));
        // The rest of a job is not given to a device that came back.
        const bool givenUp = lane % 2 == 1 && trace.state == "held" && trace.events == "100 102 103 102 101";
        EXPECT_TRUE(givenUp || trace.events == "100 102 103 102 103 101") << trace.events;
        const std::size_t logged = std::stoul(trace.loggedBytes);
        EXPECT_TRUE(logged == whole.size() || (givenUp && logged >= arrived)) << logged;
        EXPECT_EQ(trace.record, trace.state == "printed" ? "2,0,0,completed" : "2,0,0,unknown");
        if (trace.state == "printed") {
          EXPECT_EQ(arrived, whole.size());
          continue;
        }
        ++held;
        const Json entries = Json::parse(RunProgram("portwise events --json --severity warning").output);
        const std::string told = WarningsOf(entries, lanes[lane]->Job()) + trace.shown;
        // A device that is gone at the end of the job does not tell how much it had, an earlier one how much it took.
        EXPECT_TRUE(ToldLoss(told) >= whole.size() - arrived || told.find("before the printer had") != told.npos ||
                    ToldTaken(told) >= std::max<std::size_t>(arrived, 1))
            << told;
        lanes[lane]->Carry("job cancel", data);
      }
    });
  }
  threads.clear();
  EXPECT_GE(held, whole.size());
}

TEST_F(JobMatrix, SpoolerIsKilled) {
  const Row kRows[] = {
      {"before the job began",
       {"printer refuse", "print", "await waiting", "kill", "printer ready", "await printed"},
       kPrinted},
      {"in mid-job, the job is printed again",
       {"stick", "kill", "printer resume", "await held", "sleep 100", "job resume", "await printed"},
       kResumed},
      {"in mid-job, the job stays held", {"stick", "kill", "printer resume", "await held"}, kInterrupted},
      {"while the job is paused in mid-job",
       {"stick", "job pause", "kill", "printer resume", "await held"},
       kInterrupted},
  };
  std::vector<Cell> cells = CellsOf(kRows);
  Carry(cells, "kill");
  home_.Signal(SIGKILL);
  home_.Wait();
  ASSERT_TRUE(home_.Start()) << home_.Errors();
  Carry(cells);
  JudgeAll(cells);
}

}  // namespace
}  // namespace portwise::test
