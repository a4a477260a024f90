// What becomes of a job when its printer has something to say: conditions in rows, settings of the monitoring in
// columns. Each column has a printer of its own, and the columns run side by side.

#include <gmock/gmock.h>
#include <winspool.h>

#include <sstream>
#include <thread>

#include "core/thread_local_singleton.h"
#include "settings/printer_registry.h"
#include "settings/settings_catalogue.h"
#include "tests/support/print_lane.h"

namespace portwise::test {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

constexpr unsigned kPages = 4;

struct Column {
  DWORD mode;
  bool verifyPage;
  bool verifyJob;

  std::string Name() const {
    return "mode" + std::to_string(mode) + (verifyPage ? "-page" : "") + (verifyJob ? "-job" : "");
  }
};

/// What the monitor makes of a condition.
enum class Seen {
  Nothing,
  Warning,  ///< the job goes on
  Error,    ///< the job waits
};

struct Row {
  const char* name;
  std::vector<std::string> before;  ///< orders while the printer is idle
  std::vector<std::string> within;  ///< orders while it prints the second page or a later one
  Seen seen;
  const char* status;  ///< what a monitored job shows meanwhile
};

const Row kRows[] = {
    {"nothing", {}, {}, Seen::Nothing, ""},
    {"out of paper, between pages", {"paper 2"}, {}, Seen::Error, "Out of Paper"},
    {"out of paper, in a page", {}, {"paper out"}, Seen::Error, "Out of Paper"},
    {"head open, before the first page", {"head open"}, {}, Seen::Error, "Head Open"},
    {"head open, in a page", {}, {"head open"}, Seen::Error, "Head Open"},
    {"offline, before the first page", {"offline"}, {}, Seen::Error, "Offline"},
    {"offline, in a page", {}, {"offline"}, Seen::Error, "Offline"},
    {"ribbon low, before the first page", {"ribbon low"}, {}, Seen::Warning, ""},
    {"ribbon low, in a page", {}, {"ribbon low"}, Seen::Warning, ""},
};

/// The numbers that begin with none of these digits: of the status of an idle printer some belong to no job.
std::string Without(const std::string& events, const std::string& digits) {
  std::string kept, event;
  for (std::istringstream all(events); all >> event;)
    if (digits.find(event[0]) == digits.npos) kept += (kept.empty() ? "" : " ") + event;
  return kept;
}

std::string Label(unsigned page) { return "label " + std::to_string(page) + "\r\n\x1b!PG0001\r\n"; }

std::string JobData() {
  std::string data;
  for (unsigned page = 0; page < kPages; ++page) data += "<xpml><page quantity='1' pitch='2in'/></xpml>" + Label(page);
  return data + "<xpml><end/></xpml>";
}

class JobStatusMatrix : public testing::Test {
 protected:
  JobStatusMatrix() : home_("portwise.dll") { EXPECT_TRUE(home_.Start()) << home_.Errors(); }
  ~JobStatusMatrix() override { ThreadLocalSlot::DestroyObjects(); }

  std::unique_ptr<PrintLane> LaneOf(const Column& column) {
    const std::string name = column.Name();
    auto lane = std::make_unique<PrintLane>(home_, name, MakeNetworkPeer(home_.File("at-" + name), "--page-time 40"),
                                            "SIMPR.DAT");
    PrinterRegistry registry(OString(name.c_str()));
    const auto path = [](SettingId id) { return FindSetting(id).path; };
    EXPECT_TRUE(registry.SetDword(path(SettingId::StatusMonitoringMode), column.mode));
    EXPECT_TRUE(registry.SetBool(path(SettingId::VerifyPageComplete), column.verifyPage));
    EXPECT_TRUE(registry.SetBool(path(SettingId::VerifyJobComplete), column.verifyJob));
    // By the spooler's clock, which runs faster than the printer's.
    EXPECT_TRUE(registry.SetDword(path(SettingId::ActivePollingInterval), 100));
    EXPECT_TRUE(registry.SetDword(path(SettingId::IdlePollingInterval), 400));
    lane->Carry("sleep 100", "");  // a job may begin with settings that were read just before
    return lane;
  }

  static void RunRow(PrintLane& lane, const Column& column, const Row& row);

  SpoolerHome home_;
};

void JobStatusMatrix::RunRow(PrintLane& lane, const Column& column, const Row& row) {
  const std::string data = JobData();
  std::string whole;
  for (unsigned page = 0; page < kPages; ++page) whole += Label(page);
  const bool monitored = column.mode != 0;
  const bool verified = monitored && (column.verifyPage || column.verifyJob);
  const std::uint64_t printed = lane.Peer().Figure("pages");
  for (const std::string& order : row.before) lane.Peer().Order(order);
  if (!lane.Carry("print", data)) return;
  if (!row.within.empty() && !lane.Carry("await-pages " + std::to_string(printed + 1), data)) return;
  for (const std::string& order : row.within) lane.Peer().Order(order);
  if (monitored && row.seen == Seen::Error) {
    // The job stays until somebody has seen to the printer, and says why.
    EXPECT_TRUE(Eventually([&] { return GetJob(lane.Job()).value("statusText", "").find(row.status) == 0; }))
        << GetJob(lane.Job());
    if (!lane.Carry("sleep 150", data)) return;
    EXPECT_EQ(GetJob(lane.Job()).value("state", ""), "printing");
    EXPECT_THAT(RunProgram("portwise jobs " + lane.Name()).output, HasSubstr(row.status));
    EXPECT_LT(lane.Peer().Figure("pages"), printed + kPages);
    lane.Peer().Order("ready");
  }
  if (!lane.Carry("await printed", data)) return;
  if (verified) {
    EXPECT_EQ(lane.Peer().Figure("pages"), printed + kPages) << "before the printer was done";
  }
  lane.Peer().Order("ready");
  const JobTrace trace = lane.Trace();
  // Asking on the channel for status takes the place of the connection for data, so the job comes over several.
  std::string arrived;
  for (const std::string& piece : trace.arrived) arrived += piece;
  EXPECT_EQ(arrived, whole);
  EXPECT_EQ(trace.loggedBytes, std::to_string(whole.size()));
  const bool warns = monitored && row.seen == Seen::Warning, errs = monitored && row.seen == Seen::Error;
  EXPECT_THAT(trace.record, MatchesRegex(std::to_string(kPages) + "," + (warns ? "[1-9][0-9]*" : "0") + "," +
                                         (errs ? "1" : "0") + "," + (verified ? "verified" : "completed")));
  EXPECT_EQ(Without(trace.events, "239"), "100 102 103 102 103 102 103 102 103 101");
  EXPECT_EQ(trace.events.find("901") != std::string::npos, errs) << trace.events;
  EXPECT_EQ(trace.events.find("301") != std::string::npos, warns) << trace.events;
}

TEST_F(JobStatusMatrix, ConditionsUnderEveryKindOfMonitoring) {
  std::vector<Column> columns;
  for (DWORD mode = 0; mode < 4; ++mode)
    for (const bool page : {false, true})
      for (const bool job : {false, true}) columns.push_back({mode, page, job});
  std::vector<std::unique_ptr<PrintLane>> lanes;
  for (const Column& column : columns) lanes.push_back(LaneOf(column));
  {
    std::vector<std::jthread> threads;
    for (std::size_t lane = 0; lane < lanes.size(); ++lane) {
      threads.emplace_back([&, lane] {
        for (const Row& row : kRows) {
          SCOPED_TRACE(lanes[lane]->Name() + ", " + row.name);
          RunRow(*lanes[lane], columns[lane], row);
          lanes[lane]->Peer().Order("ready");
        }
      });
    }
  }
  const std::string warnings = RunProgram("portwise events --severity warning").output;
  // A printer that is offline does not close, and that is told.
  EXPECT_THAT(warnings, testing::Not(testing::AnyOf(HasSubstr("not known"), HasSubstr("not acknowledged"))));
}

TEST_F(JobStatusMatrix, LabelsOfAPrinterThatWasOffAreNotVerified) {
  const auto lane = LaneOf({2, false, true});
  // So long that nothing is under way to the printer when it goes off.
  PrinterRegistry(OString(lane->Name())).SetDword(FindSetting(SettingId::ActivePollingInterval).path, 4000);
  lane->Peer().Order("paper 2");
  lane->Carry("print", JobData());
  EXPECT_TRUE(Eventually([&] { return GetJob(lane->Job()).value("statusText", "") == "Out of Paper"; }));
  for (const char* step : {"printer power off", "sleep 500", "printer ready", "await held"}) {
    if (!lane->Carry(step, "")) return;
  }
  EXPECT_THAT(lane->Trace().record, testing::EndsWith(",failed"));
  EXPECT_THAT(RunProgram("portwise events --severity warning").output, HasSubstr("left without an answer"));
}

TEST_F(JobStatusMatrix, ARequestForAnotherPrinterOfThePortLeavesTheJobAlone) {
  const auto lane = LaneOf({2, false, true});
  nlohmann::json mute{{"op", "printer-add"}, {"name", "mute"}, {"port", lane->Name()}};
  mute.update({{"driver", ProgramFolder() + "/reference.dll"}, {"data", "SIMPR.DAT"}});
  mute["attributes"] = PRINTER_ATTRIBUTE_LOCAL;
  Ask(mute);
  const auto isWaiting = [&] { return GetJob(lane->Job()).value("statusText", "").find("Out of Paper") == 0; };
  lane->Peer().Order("paper 2");
  lane->Carry("print", JobData());
  EXPECT_TRUE(Eventually(isWaiting));
  EXPECT_EQ(RunProgram("portwise xpml mute '<state action=\"get\" name=\"Status\"/>'").output, "Out of Paper");
  lane->Carry("sleep 300", "");
  EXPECT_TRUE(isWaiting()) << GetJob(lane->Job());
  lane->Peer().Order("ready");
  EXPECT_TRUE(lane->Carry("await printed", ""));
  EXPECT_THAT(lane->Trace().record, testing::EndsWith(",verified"));
}

}  // namespace
}  // namespace portwise::test
