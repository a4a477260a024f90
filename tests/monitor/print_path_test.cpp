#include <gmock/gmock.h>

#include <random>
#include <thread>

#include "monitor/spooler_queries.h"
#include "settings/odometer.h"
#include "tests/support/fake_job_monitor.h"
#include "tests/support/fake_plugins.h"
#include "tests/support/files.h"
#include "tests/support/monitor_fixture.h"

namespace portwise {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr DWORD kReady = 1, kBusy = 2, kOutOfPaper = 0x10001, kDisabled = 0x10000000;
constexpr DWORD kNoAnswer = FakeJobMonitor::kNoAnswer;

std::string Page(int quantity) {
  return "<xpml><page quantity='" + std::to_string(quantity) + "' pitch='1in'/></xpml>";
}
const std::string kEnd = "<xpml><end/></xpml>";

/// A port whose jobs are monitored, by a status monitor that the test scripts.
class PrintPathTest : public MonitorFixture {
 protected:
  PrintPathTest() {
    platform::SetTimeScale(20);
    spooler_.printers["Labels"] = {"COM1:", "", {{"jobs", 1}, {"attributes", PRINTER_ATTRIBUTE_ENABLE_BIDI}}};
    Set("Status/Status Monitoring Mode", 2);
    // Long enough that a busy machine, on which a test may wait its turn, is not taken for a printer that takes
    // nothing.
    Set("Status/Response Timeout", 3000);
    Set("Status/Send Timeout", 4000);
    handle_ = Open("COM1:");
    port_ = static_cast<PortContext*>(handle_);
    monitor_ = std::make_unique<FakeJobMonitor>(port_->Events(), port_->DocumentLock());
    plugin_.statusKinds = 0xFFFF;
    port_->SetMonitor(*monitor_, plugin_);
  }
  ~PrintPathTest() override {
    monitor_->Stop();
    EXPECT_TRUE(lmClosePortW(handle_));
  }

  static void Set(const char* setting, DWORD value) { ORegistry().SetDword(Setting(setting), value); }
  static void SetVerify(bool page, bool job) {
    ORegistry().SetBool(Setting("Status/Verify Page Complete"), page);
    ORegistry().SetBool(Setting("Status/Verify Job Complete"), job);
  }

  /// Passes the job as a spooler does: goes on behind what was taken, and on FALSE with all taken says so again.
  /// Gives up after `calls` calls; what was not taken is returned.
  size_t Drive(std::string_view data, size_t chunk = 65536, int calls = 60) {
    bool content = true;
    while ((!data.empty() || !content) && calls-- > 0) {
      DWORD written = 0;
      content = Write(handle_, data.substr(0, chunk), &written) != FALSE;
      data.remove_prefix(written);
    }
    return data.size();
  }
  /// A whole job, of which everything is taken.
  void Job(DWORD job, const std::string& data, size_t chunk = 65536) {
    ASSERT_TRUE(Start(handle_, job));
    EXPECT_EQ(Drive(data, chunk), 0u);
    EXPECT_TRUE(lmEndDocPortW(handle_));
  }
  JobState StateOf(DWORD job) {
    JobRecords::Hold record(port_->Jobs(), job);
    return record ? record->state : JobState::Unknown;
  }

  HANDLE handle_ = nullptr;
  PortContext* port_ = nullptr;
  std::unique_ptr<FakeJobMonitor> monitor_;
  FakeMonitorInterface plugin_;
};

TEST_F(PrintPathTest, AsksThePrinterBeforeTheFirstByteAndAtTheEnd) {
  below_.onCall = [&](std::string_view call) { monitor_->Say(std::string(call)); };
  Job(7, Page(2) + "label" + kEnd);
  EXPECT_THAT(monitor_->TakeJournal(),
              ElementsAre("start", "begin job", "request", "write", "request", "end job", "end"));
  using enum PluginEvent;
  EXPECT_THAT(plugin_.events, ElementsAre(FirstWrite, PageOpened, PageClosed, JobEnd, LastJobEnd));
  EXPECT_EQ(StateOf(7), JobState::Completed);
  JobRecords::Hold record(port_->Jobs(), 7);
  EXPECT_EQ(record->pagesSent, 2u);
  EXPECT_EQ(spooler_.printers["Labels"].data["Meterbank\\Odometer Pages"].second.front(), 2);
}

TEST_F(PrintPathTest, TakesNothingWhileThePrinterIsInTrouble) {
  ASSERT_TRUE(Start(handle_, 1));
  monitor_->SetStatuses({kNoAnswer, kOutOfPaper});
  DWORD written = 1;
  SetLastError(0);
  EXPECT_EQ(ErrorOf(Write(handle_, "ab", &written)), ERROR_IO_DEVICE) << "no answer";
  EXPECT_EQ(written, 0u);
  for (const auto& [status, error] : {std::pair<DWORD, DWORD>{5, ERROR_NOT_READY}, {kOutOfPaper, ERROR_OUT_OF_PAPER}}) {
    monitor_->SetStatuses({status});
    port_->Events().RequestStatus(500);
    EXPECT_FALSE(Write(handle_, "ab", &written));
    EXPECT_EQ(GetLastError(), error);
    EXPECT_EQ(written, 0u);
  }
  monitor_->SetStatuses({kReady});
  port_->Events().RequestStatus(500);
  EXPECT_TRUE(monitor_->AllowsPolling());
  EXPECT_EQ(Drive("ab"), 0u);
  EXPECT_FALSE(monitor_->AllowsPolling()) << "a poll may break the connection off";
  EXPECT_TRUE(lmEndDocPortW(handle_));
  EXPECT_EQ(below_.output, "ab");
  EXPECT_EQ(StateOf(1), JobState::Failed) << "it had no end";
}

TEST_F(PrintPathTest, HoldsTheNextPageUntilTheOneBeforeIsDone) {
  SetVerify(true, false);
  ASSERT_TRUE(Start(handle_, 1));
  monitor_->SetStatuses({kReady, kBusy, kBusy, kNoAnswer, kOutOfPaper, kReady});
  const std::string data = Page(1) + "one" + Page(3) + "two" + kEnd + "tail";
  DWORD written = 0;
  EXPECT_TRUE(Write(handle_, data, &written));
  EXPECT_EQ(written, 0u);
  EXPECT_EQ(below_.output, "one");
  EXPECT_TRUE(Write(handle_, data, &written)) << "still busy";
  EXPECT_EQ(written, 0u);
  EXPECT_EQ(ErrorOf(Write(handle_, data, &written)), ERROR_IO_DEVICE) << "no answer";
  EXPECT_EQ(below_.output, "one");
  EXPECT_EQ(Drive(data), 0u);
  EXPECT_TRUE(lmEndDocPortW(handle_));
  EXPECT_EQ(below_.output, "onetwotail");
  EXPECT_EQ(StateOf(1), JobState::Verified);
  JobRecords::Hold record(port_->Jobs(), 1);
  EXPECT_EQ(record->pagesSent, 4u);
  EXPECT_EQ(record->pagesVerified, 4u);
}

TEST_F(PrintPathTest, CountsAPageOnlyWithItsData) {
  SetVerify(true, false);
  ASSERT_TRUE(Start(handle_, 1));
  EXPECT_EQ(Drive(Page(1)), 0u);
  EXPECT_EQ(Drive("<xpml></xpml>"), 0u);
  using enum PluginEvent;
  EXPECT_THAT(plugin_.events, ElementsAre(FirstWrite, PageOpened)) << "no byte of it was sent";
  EXPECT_EQ(Drive("data" + kEnd + Page(7) + "<xpml><packet></packet></xpml>"), 0u);
  EXPECT_TRUE(lmEndDocPortW(handle_));
  EXPECT_THAT(plugin_.events, ElementsAre(FirstWrite, PageOpened, PageClosed, PageOpened, JobEnd, LastJobEnd));
}

TEST_F(PrintPathTest, GoesOnWithoutMonitoringOnceThePrinterMayNotBeAsked) {
  SetVerify(true, false);
  plugin_.bufferSpace = true;
  const std::string data = Page(1) + "first" + Page(1) + "second" + kEnd;
  // With a page pending, and in the middle of a buffer.
  for (const DWORD room : {5u, 0u}) {
    below_.output.clear();
    Sleep(1100);  // until the settings are read again
    ASSERT_TRUE(Start(handle_, 1));
    port_->Flow().Set(room, 0);
    monitor_->SetStatuses({kReady, room > 0 ? kBusy : kDisabled, kDisabled});
    EXPECT_EQ(Drive(data, 65536, 4), 0u);
    EXPECT_TRUE(lmEndDocPortW(handle_));
    EXPECT_EQ(below_.output, "firstsecond");
    JobRecords::Hold record(port_->Jobs(), 1);
    EXPECT_EQ(record->pagesVerified, 0u);
  }
}

TEST_F(PrintPathTest, SaysOfAJobOnlyWhatIsKnown) {
  struct Case {
    const char* name;
    bool verifyJob;
    std::string end;
    std::vector<DWORD> statuses;  // the first is that before the first byte
    unsigned jobStatus;
    JobState state;
    size_t left;
  };
  const std::string kLateData = "<xpml><a></xpml>label" + kEnd;  // the element keeps it
  const std::string kMore = kEnd + std::string(65536, 'l');
  const Case cases[] = {
      {"verified", true, kEnd, {kReady, kBusy, kReady}, 0, JobState::Verified, 0},
      {"not verified", false, kEnd, {kReady}, 0, JobState::Completed, 0},
      {"no end", true, "", {kReady}, 0, JobState::Failed, 0},
      {"never done", true, kEnd, {kReady, kBusy}, 0, JobState::Failed, 24},
      {"error at the end", true, kEnd, {kReady, kOutOfPaper}, 0, JobState::Failed, 24},
      {"silent at the end", true, kEnd, {kReady, kNoAnswer}, 0, JobState::Failed, 24},
      {"data after the end", true, kLateData, {kReady, kReady, kOutOfPaper}, 0, JobState::Failed, 0},
      {"data in a later buffer", true, kMore, {kReady, kReady, kOutOfPaper}, 0, JobState::Failed, 0},
      {"done with data after the end", true, kLateData, {kReady, kReady, kBusy, kReady}, 0, JobState::Verified, 0},
      {"deleted", true, kEnd, {kReady, kReady}, JOB_STATUS_DELETING, JobState::Failed, 0},
  };
  DWORD job = 0;
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    SetVerify(false, each.verifyJob);
    Sleep(1100);  // until the settings are read again
    spooler_.jobStatus = each.jobStatus;
    ASSERT_TRUE(Start(handle_, ++job));
    monitor_->SetStatuses(each.statuses);
    EXPECT_EQ(Drive("label" + each.end, 65536, 4), each.left);
    EXPECT_TRUE(lmEndDocPortW(handle_));
    EXPECT_EQ(StateOf(job), each.state);
    spooler_.jobStatus = 0;
  }
}

TEST_F(PrintPathTest, IsNotMonitoredWithoutAMonitorOrAPlugInThatCan) {
  monitor_->started = false;
  Job(1, "label" + kEnd);
  monitor_->started = true;
  plugin_.statusKinds = 0;
  Job(2, "label" + kEnd);
  EXPECT_THAT(monitor_->TakeJournal(), ElementsAre());
  EXPECT_EQ(StateOf(1), JobState::Unknown) << "there is no record";
  plugin_.statusKinds = 0xFFFF;
  Job(3, "label" + kEnd);
  EXPECT_EQ(StateOf(3), JobState::Completed) << "what was switched off was so for one job";
}

TEST_F(PrintPathTest, SendsWhatThePrinterHasRoomFor) {
  ASSERT_TRUE(Start(handle_, 1));
  plugin_.bufferSpace = true;
  port_->Flow().Set(12, 0);
  EXPECT_EQ(Drive("free of pages"), 0u) << "no page was announced: nothing is counted";
  EXPECT_EQ(Drive(Page(1) + "sixsix"), 0u);
  monitor_->TakeJournal();
  DWORD written = 0;
  EXPECT_TRUE(Write(handle_, "eleven byte", &written)) << "six bytes of room";
  EXPECT_FALSE(Write(handle_, "", &written));
  EXPECT_THAT(monitor_->TakeJournal(), ElementsAre("request", "request"));
  port_->Flow().Set(11, 0);
  EXPECT_EQ(Drive(""), 0u);
  EXPECT_TRUE(Write(handle_, "", &written));
  EXPECT_THAT(below_.output, HasSubstr("sixsixeleven byte"));
  port_->Flow().Set(0, 5);
  EXPECT_EQ(Drive("large"), 0u) << "as large as the threshold";
  monitor_->SetStatuses({kOutOfPaper});
  EXPECT_EQ(ErrorOf(Write(handle_, "tiny", &written)), ERROR_OUT_OF_PAPER);
  EXPECT_EQ(written, 4u);
  port_->Flow().Set(100, 0);
  monitor_->SetStatuses({kReady});
  port_->Events().RequestStatus(500);
  EXPECT_EQ(Drive(kEnd), 0u);
  EXPECT_TRUE(lmEndDocPortW(handle_));
  EXPECT_THAT(below_.output, ::testing::EndsWith("largetiny"));
}

TEST_F(PrintPathTest, DeliversTheLastBytesOnceThereIsRoom) {
  plugin_.bufferSpace = true;
  ASSERT_TRUE(Start(handle_, 1));
  port_->Flow().Set(5, 0);
  EXPECT_EQ(Drive(Page(1) + "12345"), 0u);
  DWORD written = 0;
  EXPECT_TRUE(Write(handle_, "678", &written));
  EXPECT_EQ(written, 3u);
  std::thread printer([this] {
    Sleep(300);
    port_->Flow().Set(100, 0);
  });
  EXPECT_TRUE(lmEndDocPortW(handle_)) << "asks while the status thread needs the documents' lock";
  printer.join();
  EXPECT_EQ(below_.output, "12345678");
  EXPECT_THAT(monitor_->TakeJournal(), ::testing::Not(::testing::Contains("offline")));
}

TEST_F(PrintPathTest, DropsWhatFollowsAPlugInsStatus) {
  ASSERT_TRUE(Start(handle_, 1));
  EXPECT_EQ(Drive("before"), 0u);
  plugin_.specialResult = kOutOfPaper;
  EXPECT_EQ(port_->RunSpecialOperation("reader", "type", 1, ""), kOutOfPaper);
  EXPECT_EQ(Drive("after" + kEnd), 0u);
  EXPECT_TRUE(lmEndDocPortW(handle_));
  EXPECT_EQ(StateOf(1), JobState::Failed);
  Job(2, "next");
  EXPECT_EQ(below_.output, "beforenext");
}

TEST_F(PrintPathTest, WaitsForTheJobsQueriesAndThenForItsPrint) {
  SetVerify(false, true);
  ASSERT_TRUE(Start(handle_, 1));
  monitor_->SetStatuses({kReady, kBusy, kReady});
  monitor_->queriesAdded = true;
  monitor_->queryRounds = 2;
  DWORD written = 1;
  EXPECT_TRUE(Write(handle_, "label" + kEnd, &written));
  EXPECT_EQ(written, 0u);
  EXPECT_EQ(WaitForSingleObject(port_->Events().Query(), 0), WAIT_OBJECT_0);
  EXPECT_EQ(Drive("label" + kEnd), 0u);
  EXPECT_FALSE(monitor_->queriesAdded);
  EXPECT_EQ(Drive("more"), 0u);
  EXPECT_TRUE(lmEndDocPortW(handle_));
  EXPECT_EQ(below_.output, "labelmore");
  EXPECT_THAT(monitor_->TakeJournal(), testing::Contains("request").Times(4)) << "and for what came behind the end";
  EXPECT_EQ(StateOf(1), JobState::Verified);
  ASSERT_TRUE(Start(handle_, 2));
  monitor_->queriesAdded = true;
  EXPECT_EQ(Drive(kEnd), 0u);
  EXPECT_THAT(monitor_->TakeJournal(), testing::Contains("request").Times(1)) << "queries are all there was";
  EXPECT_TRUE(lmEndDocPortW(handle_));
}

TEST_F(PrintPathTest, PrintsPacketsOfJobsAndRequests) {
  Odometer totals;
  totals.Add(500, 254);
  ASSERT_TRUE(totals.Save(OpenForChanges("Labels").Get()));
  TextBuffer reply;
  port_->ExecuteRequest(
      "<page quantity='1'/><a>1<packet>from a </packet>2</a><a>3<b>4<packet>request</packet>5</b>6</a>", reply);
  EXPECT_EQ(reply.View(), "123456");
  EXPECT_TRUE(totals.Load(OpenForChanges("Labels").Get()) && totals.Pages() == 501) << "of other runs, and of this";
  Job(1, "x<xpml>y<packet>PACK<uppercase>et</uppercase></packet></xpml>z");
  EXPECT_EQ(below_.output, "from a requestxyPACKETz");
  Job(2, Page(7) + kEnd);
  port_->ExecuteRequest("<packet>!</packet>", reply);
  EXPECT_TRUE(totals.Load(OpenForChanges("Labels").Get()) && totals.Pages() == 501) << "no data, no pages";
  EXPECT_THAT(below_.calls,
              ElementsAre("open COM1:", "start Labels 0 1", "end", "start Labels 0 1", "end", "start Labels 1 1", "end",
                          "start Labels 2 1", "end", "start Labels 0 1", "end"));
}

TEST_F(PrintPathTest, RecordsWhatIsSent) {
  Set("Logging/Overwrite Files", 0);
  ORegistry().SetBool(Setting("Logging/Print Code Recording"), true);
  ORegistry().SetString(Setting("Logging/Directory"), "C:\\rec\\deep\\\\");
  Sleep(1100);
  for (const char* content : {"first", "second"}) Job(1, std::string(content) + "<xpml/>!", 3);
  const std::string first = ReadBytes(home_.Drive() / "rec/deep/document_1.prn");
  EXPECT_EQ(first, "first<xpml/>!");
  EXPECT_EQ(first + ReadBytes(home_.Drive() / "rec/deep/document_2.prn"), below_.output);
}

/// Whatever the printer takes, says and fails at, a job that comes to its end has every byte at the printer once, and
/// its pages are counted once.
TEST_F(PrintPathTest, NeitherLosesNorDoublesAByteOfAMonitoredJob) {
  std::mt19937 random(20);
  const auto chance = [&](unsigned percent) { return random() % 100 < percent; };
  below_.onWrite = [&](DWORD size, DWORD* written) {
    *written = chance(50) ? size : random() % (size + 1);
    if (chance(2)) throw std::runtime_error("below");
    return *written == size || chance(50);
  };
  Set("Status/Response Timeout", 200);
  for (DWORD job = 1; job <= 60; ++job) {
    SetVerify(chance(50), chance(50));
    std::string data, plain;
    const DWORD pages = random() % 4;
    for (DWORD page = 0; page < pages; ++page) {
      data += Page(1) + "page " + std::to_string(page) + std::string(random() % 200, '.');
      plain += "page " + std::to_string(page) + data.substr(data.find_last_not_of('.') + 1);
    }
    data += kEnd + "tail";
    plain += "tail";
    std::vector<DWORD> statuses;
    for (int i = 0; i < 20; ++i)
      statuses.push_back(chance(3) ? kNoAnswer : chance(20) ? kBusy : chance(5) ? kOutOfPaper : kReady);
    statuses.push_back(kReady);
    below_.output.clear();
    ASSERT_TRUE(Start(handle_, job));
    port_->Flow().Set(1000000, 0);
    monitor_->SetStatuses(statuses);
    const std::string_view all = data;
    size_t taken = 0;
    const size_t chunk = 1 + random() % 100;
    for (int calls = 0; taken < all.size() && calls < 3000; ++calls) {
      DWORD written = 0;
      // An error stays until the next answer, which the status thread gets by itself.
      if (!Write(handle_, all.substr(taken, chunk), &written)) port_->Events().RequestStatus(200);
      taken += written;
    }
    ASSERT_EQ(taken, all.size()) << "job " << job;
    while (!lmEndDocPortW(handle_)) ASSERT_TRUE(Start(handle_, job));
    ASSERT_EQ(below_.output, plain) << "job " << job;
    JobRecords::Hold record(port_->Jobs(), job);
    ASSERT_EQ(record->pagesSent, pages) << "job " << job;
  }
}

}  // namespace
}  // namespace portwise
