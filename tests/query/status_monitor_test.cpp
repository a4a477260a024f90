#include "query/status_monitor.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <thread>

#include "platform/test_clock.h"
#include "query/query_request.h"
#include "query/ticks.h"
#include "settings/printer_registry.h"
#include "tests/query/fake_status_port.h"
#include "tests/support/temporary_home.h"

namespace portwise {
namespace {

constexpr const char* kActiveInterval = "Status/Active Polling Interval";
constexpr const char* kIdleInterval = "Status/Idle Polling Interval";
constexpr const char* kResponseTimeout = "Status/Response Timeout";
constexpr const char* kSendTimeout = "Status/Send Timeout";
constexpr const char* kKnown = "DATA:Monitor/Ports/[PORT]/Known Bidirectional";
constexpr const char* kAsked = "sent ?\n";
constexpr DWORD kLong = 600000;   // ms, as are all below
constexpr DWORD kJitter = 40;     // of two ticks that are taken one after the other
constexpr DWORD kMoment = 20000;  // what takes no time may take on a busy machine, whose second this is

class StatusMonitorTest : public ::testing::Test {
 protected:
  StatusMonitorTest() {
    platform::SetTimeScale(20);
    platform::SetTickCount(0xFFFFF000);  // the tick count wraps while the tests run
  }
  ~StatusMonitorTest() override { platform::SetTimeScale(1); }

  /// A port whose printer is ready, and that is made before any monitor runs.
  FakeStatusPort& AddPort(LONG mode, const std::string& answer = "1\n", ConnectionKind kind = ConnectionKind::Tcp) {
    ports_.push_back(std::make_unique<FakeStatusPort>(spooler_, "Printer" + std::to_string(ports_.size()), mode, kind));
    if (!answer.empty()) ports_.back()->connection.AnswerWith({{0, answer}});
    return *ports_.back();
  }
  /// One that asks at once, and then only when it is told to.
  FakeStatusPort& AddIdlePort(LONG mode, const std::string& answer = "1\n", ConnectionKind kind = ConnectionKind::Tcp) {
    FakeStatusPort& port = AddPort(mode, answer, kind);
    port.Set(kIdleInterval, kLong);
    return port;
  }
  static void AddRequest(FakeStatusPort& port, const char* command, DWORD startTime = 0, DWORD repeatInterval = 0) {
    auto request = std::make_unique<QueryRequest>();
    request->id = request->name = "r";
    request->queryId = "q";
    request->command = command;
    request->startTime = startTime;
    request->repeatInterval = repeatInterval;
    port.monitor.Requests().Add(std::move(request));
    SetEvent(port.events.Query());
  }
  /// Once all ports are there: the spooler of a test stays as it is while threads ask it.
  void StartAll() {
    for (const auto& port : ports_) ASSERT_TRUE(port->monitor.Start());
  }
  static void Eventually(const std::function<bool()>& condition) {
    for (const DWORD begin = GetTickCount(); !condition() && GetTickCount() - begin < 2 * kMoment;) Sleep(50);
    EXPECT_TRUE(condition());
  }

  TemporaryHome home_;
  FakeSpooler spooler_;
  std::vector<std::unique_ptr<FakeStatusPort>> ports_;
};

TEST_F(StatusMonitorTest, AsksAsTheModeHasIt) {
  enum Doing { kNothing, kJob, kFailedStart, kStatusRead, kNotReady, kNotAllowed, kRequested };
  constexpr DWORD kWindow = 24000;
  struct {
    LONG mode;
    Doing doing;
    DWORD interval;  // between polls; 0 for no poll
    size_t atMost;   // polls; 0 for as many as fit
    const char* statuses;
  } const rows[] = {
      {0, kNothing, 0, 0, ""},
      {0, kJob, 0, 0, ""},
      {0, kFailedStart, 0, 0, ""},
      {1, kNothing, 0, 0, ""},
      {1, kJob, 1000, 0, " status 1"},
      {1, kFailedStart, 5000, 1, " status 5 status 1"},
      {1, kStatusRead, 5000, 3, " status 1"},  // for ten seconds
      {1, kNotReady, 5000, 0, " status 5 status 2"},
      {1, kRequested, 5000, 1, " status 1"},
      {2, kNothing, 5000, 0, " status 1"},
      {2, kJob, 1000, 0, " status 1"},
      {2, kNotAllowed, 0, 0, ""},
      {3, kNothing, 0, 0, ""},
      {3, kJob, 1000, 0, " status 1"},
      {3, kNotReady, 0, 0, " status 5 status 1"},
      {3, kRequested, 5000, 1, " status 1"},
  };
  for (const auto& row : rows) {
    FakeStatusPort& port = AddPort(row.mode, row.doing == kNotReady ? "2\n" : "1\n");
    port.firstWritePending = true;
    port.plugin.statusChannel = row.doing == kNotAllowed;
  }
  for (size_t i = 0; i < std::size(rows); ++i) {
    StatusMonitor& monitor = ports_[i]->monitor;
    ASSERT_TRUE(monitor.Start() && monitor.WaitStarted());
    if (rows[i].doing == kJob) monitor.BeginJob();
    if (rows[i].doing == kFailedStart) monitor.SetStartDocFailed(true);
    if (rows[i].doing == kStatusRead) monitor.NoteStatusRead();
    if (rows[i].doing == kNotReady) monitor.SetStatusOffline();
    if (rows[i].doing == kNotAllowed) monitor.AllowPolling(false);
    if (rows[i].doing == kRequested) SetEvent(ports_[i]->events.StatusRequest());
  }
  Sleep(kWindow);
  for (size_t i = 0; i < std::size(rows); ++i) {
    SCOPED_TRACE("mode " + std::to_string(rows[i].mode) + ", doing " + std::to_string(rows[i].doing));
    const std::vector<DWORD> polls = ports_[i]->journal.Ticks(kAsked);
    const std::string statuses = ports_[i]->journal.Only({"status 1", "status 2", "status 5"});
    EXPECT_TRUE(statuses.starts_with(rows[i].statuses)) << statuses;
    if (rows[i].interval == 0) {
      EXPECT_EQ(polls.size(), 0u);
      EXPECT_EQ(statuses, rows[i].statuses);
      EXPECT_EQ(ports_[i]->journal.Count("open-status"), 0u);
      continue;
    }
    for (size_t n = 1; n < polls.size(); ++n) EXPECT_GE(polls[n] - polls[n - 1], rows[i].interval - kJitter);
    EXPECT_GE(polls.size(), rows[i].atMost != 0 ? 1 : kWindow / rows[i].interval / 2);
    EXPECT_LE(polls.size(), rows[i].atMost != 0 ? rows[i].atMost : kWindow / rows[i].interval);
  }
  // In the wait between two polls the job may end that they were for.
  FakeStatusPort& ended = AddPort(1, "1\n");
  ASSERT_TRUE(ended.monitor.Start() && ended.monitor.WaitStarted());
  ended.monitor.BeginJob();
  ASSERT_TRUE(ended.journal.WaitFor(kAsked));
  ended.monitor.EndJob();
  SetEvent(ended.events.Query());
  Sleep(3000);
  EXPECT_EQ(ended.journal.Count(kAsked), 1u);
  // A job that ends is not followed any more; each that began counts.
  StatusMonitor& monitor = ports_[4]->monitor;
  monitor.BeginJob();
  for (const bool stillOn : {true, false, false}) {
    monitor.EndJob();
    EXPECT_EQ(monitor.IsMonitoringJob(), stillOn);
  }
  ASSERT_TRUE(ports_[4]->journal.WaitFor("refresh", ports_[4]->journal.Count("refresh") + 3));
  ports_[4]->journal.Clear();
  Sleep(5000);
  EXPECT_EQ(ports_[4]->journal.Count(kAsked), 0u);
}

TEST_F(StatusMonitorTest, BecomesReadyWhenTheModeStopsFollowingTheStatus) {
  const std::set<std::pair<LONG, LONG>> makeReady = {{1, 0}, {1, 3}, {2, 0}, {2, 1}, {2, 3}, {3, 0}};
  for (LONG i = 0; i < 16; ++i) AddPort(i / 4, "");
  for (const auto& port : ports_) {
    port->Set(kResponseTimeout, 1000);
    port->monitor.BeginJob();  // without one, mode 3 makes every status ready
    ASSERT_TRUE(port->monitor.Start() && port->monitor.WaitStarted());
    port->monitor.SetStatusOffline();
  }
  for (LONG i = 0; i < 16; ++i) {
    FakeStatusPort& port = *ports_[static_cast<size_t>(i)];
    ASSERT_TRUE(port.journal.WaitFor("refresh", 3));
    ASSERT_EQ(port.journal.Count("status 1"), 0u);
    port.settings.SetStatusMonitoringMode(i % 4);
  }
  for (LONG i = 0; i < 16; ++i) {
    Journal& journal = ports_[static_cast<size_t>(i)]->journal;
    ASSERT_TRUE(journal.WaitFor("refresh", journal.Count("refresh") + 2));
    EXPECT_EQ(journal.Count("status 1"), makeReady.count({i / 4, i % 4})) << i / 4 << " to " << i % 4;
  }
}

TEST_F(StatusMonitorTest, RestsWhileBidirectionalSupportIsOff) {
  FakeStatusPort& port = AddPort(2, "2\n");
  port.Set(kIdleInterval, 500);
  ASSERT_TRUE(port.monitor.Start());
  ASSERT_TRUE(port.journal.WaitFor("status 2"));
  port.SetBidirectional(false);
  ASSERT_TRUE(port.journal.WaitFor("status 1", 1, 2000 + kMoment));
  EXPECT_EQ(port.monitor.CurrentStatus(), PrinterStatus(0x10000000));
  port.journal.Clear();
  AddRequest(port, "A");
  port.monitor.SetStatusOffline();
  Sleep(5000);
  EXPECT_TRUE(port.events.RequestStatus(1000)) << "nobody waits for an answer that cannot come";
  EXPECT_EQ(port.journal.Only({kAsked, "sent A", "status 1", "status 5", "begin"}), "");
  port.SetBidirectional(true);
  ASSERT_TRUE(port.journal.WaitFor("status 2"));
  EXPECT_EQ(port.monitor.CurrentStatus(), PrinterStatus(2));
  EXPECT_EQ(port.journal.Count("sent A"), 1u);
}

TEST_F(StatusMonitorTest, TakesSilenceForOfflineOnceThePrinterHasAnswered) {
  const struct {
    bool stored;         // that the printer has answered before
    const char* answer;  // the first one
    bool goesOffline;
    bool learned;
  } rows[] = {
      {false, "", false, false},
      {true, "", true, true},
      {false, "3\n", true, true},
      {false, "\n", false, false},  // an answer without a status
  };
  for (const auto& row : rows) {
    FakeStatusPort& port = AddPort(2, row.answer);
    port.Set(kIdleInterval, 1000);
    port.Set(kResponseTimeout, 3000);
    if (row.stored) PrinterRegistry(port.JobPrinter()).SetBool(kKnown, true);
  }
  StartAll();
  for (size_t i = 0; i < std::size(rows); ++i) {
    SCOPED_TRACE(i);
    FakeStatusPort& port = *ports_[i];
    ASSERT_TRUE(port.journal.WaitFor(kAsked, 2));
    port.connection.AnswerWith({});
    ASSERT_TRUE(port.journal.WaitFor(kAsked, port.journal.Count(kAsked) + 3));
    EXPECT_EQ(port.journal.Count("status 5") > 0, rows[i].goesOffline);
    EXPECT_EQ(port.monitor.CurrentStatus(), PrinterStatus(rows[i].goesOffline ? 5 : 1));
    EXPECT_EQ(PrinterRegistry(port.JobPrinter()).GetBool(kKnown, false), rows[i].learned);
    // The plug-in hears of every read that brings nothing before the first byte.
    EXPECT_GE(port.journal.Count("m31"), 10u);
    // The printer is back.
    port.connection.AnswerWith({{0, "7\n"}});
    EXPECT_TRUE(port.journal.WaitFor("status 7", 1, 2 * kMoment));
  }
}

TEST_F(StatusMonitorTest, LooksForAnOfflinePrinterWithShortWaits) {
  FakeStatusPort& port = AddPort(1, "");
  port.Set(kIdleInterval, 3000);
  port.Set(kResponseTimeout, kLong);
  PrinterRegistry(port.JobPrinter()).SetBool(kKnown, true);
  port.connection.SetKeepOpen(true);
  ASSERT_TRUE(port.monitor.Start());
  port.monitor.SetStatusOffline();
  ASSERT_TRUE(port.journal.WaitFor("open", 3));
  EXPECT_EQ(port.journal.Count("silence"), 0u) << "the printer may be merely late";
  EXPECT_TRUE(
      port.journal.Only({kAsked, "close", "open", "end"}).starts_with(" sent ?\n close open end sent ?\n close"));
  const std::vector<DWORD> asked = port.journal.Ticks(kAsked), given = port.journal.Ticks("close");
  for (size_t n = 0; n < given.size(); ++n) {
    EXPECT_GE(given[n] - asked[n], 2000u);
    EXPECT_LT(given[n] - asked[n], 2000 + kMoment);
    EXPECT_TRUE(n + 1 >= asked.size() || asked[n + 1] - given[n] >= 3000 - kJitter);
  }
}

TEST_F(StatusMonitorTest, TakesAnswersAsTheyCome) {
  const std::string lines(4090, '\n');
  const struct {
    AnsweringConnection::Pieces pieces;
    const char* statuses;
    const char* rooms;
    const char* end = " m22";
  } rows[] = {
      {{{0, "2 7 9 11 12 13\n"}}, " status 2 7 9 11 12 13", ""},
      {{{0, "2 t500 a90\n"}}, " status 2", " room 500 90"},
      // What counts is the time since the last byte.
      {{{100, "2 "}, {6000, "7"}, {6000, "\n"}}, " status 2 7", ""},
      {{{0, "3 a1\n2 a2\n9"}}, " status 2", " room 0 1 room 0 2"},
      {{{0, "3 a1\n" + std::string("\n")}}, " status 3", " room 0 1"},
      // A full read may not be the end of what the printer says.
      {{{0, std::string(4094, ' ') + "2\n"}}, " status 2", "", ""},
      {{{0, std::string(9000, ' ') + "2\n"}}, " status 2", ""},
      {{{15000, "2\n"}}, "", "", ""},  // too late
  };
  for (const auto& row : rows) {
    FakeStatusPort& port = AddIdlePort(2, "");
    port.Set(kIdleInterval, 1000);
    port.Set(kResponseTimeout, 10000);
    port.connection.AnswerWith(row.pieces);
  }
  StartAll();
  for (size_t i = 0; i < std::size(rows); ++i) {
    SCOPED_TRACE(i);
    FakeStatusPort& port = *ports_[i];
    ASSERT_TRUE(port.journal.WaitFor("end"));
    port.monitor.Stop();
    const std::string statuses =
        port.journal.Only({"status 1", "status 2", "status 3", "status 2 7", "status 5", "status 2 7 9 11 12 13"});
    EXPECT_TRUE(*rows[i].statuses ? statuses.starts_with(rows[i].statuses) : statuses.empty()) << statuses;
    EXPECT_TRUE(port.journal.Only({"room 500 90", "room 0 1", "room 0 2"}).starts_with(rows[i].rooms));
    const std::string ended = port.journal.Only({"m22", "end"}) + " ";
    EXPECT_TRUE(ended.starts_with(std::string(rows[i].end) + " end ")) << ended;
  }
}

TEST_F(StatusMonitorTest, GoesTheWayThatConnectionAndPluginHave) {
  using Kind = ConnectionKind;
  const struct {
    Kind kind;
    bool channel;
    const char* steps;  // of one poll
  } rows[] = {
      {Kind::Tcp, false, " begin protocol m21 sent ?\n m22 end"},
      {Kind::Tcp, true, " begin close open-status protocol m21 sent ?\n m22 close open end"},
      {Kind::Usb, true, " begin protocol m21 sent ?\n m22 end"},
  };
  for (const auto& row : rows) {
    FakeStatusPort& port = AddPort(2, "1\n", row.kind);
    port.plugin.statusChannel = row.channel;
  }
  StartAll();
  for (size_t i = 0; i < std::size(rows); ++i) {
    ASSERT_TRUE(ports_[i]->journal.WaitFor("end"));
    const std::string steps =
        ports_[i]->journal.Only({"begin", "close", "open", "open-status", "protocol", "m21", kAsked, "m22", "end"});
    EXPECT_TRUE((steps + " ").starts_with(std::string(rows[i].steps) + " ")) << i << steps;
  }
}

TEST_F(StatusMonitorTest, ConcludesWithoutAnAnswer) {
  using Kind = ConnectionKind;
  const struct {
    const char* what;
    std::function<void(FakeStatusPort&)> prepare;
    Kind kind;
    const char* said;  // instead of a question and its answer
  } rows[] = {
      {"what the plug-in knows", [](auto& port) { port.plugin.knownCode = 9; }, Kind::Tcp, " status 9"},
      {"that the printer is gone", [](auto& port) { port.connection.connected = false; }, Kind::Usb,
       " silence status 5"},
      {"that the status channel of a printer is refused that has answered",
       [](auto& port) {
         PrinterRegistry(port.JobPrinter()).SetBool(kKnown, true);
         port.plugin.statusChannel = port.connection.refusesStatus = true;
       },
       Kind::Tcp, " status 5"},
      {"that both channels are refused",
       [](auto& port) {
         port.plugin.statusChannel = port.connection.refusesStatus = port.connection.refusesPrint = true;
       },
       Kind::Tcp, " silence status 5"},
      {"that a document is refused over TCP", [](auto& port) { port.refusesDocuments = true; }, Kind::Tcp, " status 5"},
      {"nothing of a refused document at COM", [](auto& port) { port.refusesDocuments = true; }, Kind::Com, ""},
      {"nothing, when there is no request", [](auto& port) { port.plugin.request.clear(); }, Kind::Tcp, ""},
      {"nothing of a printer that takes nothing", [](auto& port) { port.connection.refuses = true; }, Kind::Tcp, ""},
  };
  for (const auto& row : rows) {
    FakeStatusPort& port = AddPort(2, "1\n", row.kind);
    row.prepare(port);
    port.Set(kIdleInterval, 1000);
    port.Set(kSendTimeout, 1000);
  }
  StartAll();
  for (size_t i = 0; i < std::size(rows); ++i) {
    SCOPED_TRACE(rows[i].what);
    ASSERT_TRUE(ports_[i]->journal.WaitFor("begin", 2));
    const std::string said = ports_[i]->journal.Only({kAsked, "silence", "status 1", "status 5", "status 9"});
    EXPECT_TRUE(*rows[i].said ? said.starts_with(rows[i].said) : said.empty()) << said;
  }
  EXPECT_TRUE(ports_[0]->events.RequestStatus(kMoment));  // what it knows is determined too
}

TEST_F(StatusMonitorTest, GivesUpAPrinterThatItCannotHave) {
  FakeStatusPort& locked = AddPort(2);
  FakeStatusPort& late = AddPort(2);
  FakeStatusPort& generic = AddPort(2, "1\n", ConnectionKind::Generic);
  locked.failingLoads = 1000000;
  locked.hasDocument = true;
  late.failingLoads = 50;
  const DWORD begin = GetTickCount();
  StartAll();
  EXPECT_FALSE(generic.monitor.WaitStarted());
  EXPECT_LT(GetTickCount() - begin, kMoment);
  EXPECT_TRUE(late.monitor.WaitStarted());
  EXPECT_GE(GetTickCount() - begin, 5000u);
  EXPECT_FALSE(locked.monitor.WaitStarted());
  EXPECT_GE(GetTickCount() - begin, 30000u);
  EXPECT_LT(GetTickCount() - begin, 30000u + kMoment);
  EXPECT_TRUE(locked.journal.WaitFor("unload"));
  EXPECT_EQ(locked.journal.Count("close"), 0u) << "a job that waited for the start goes on";
  EXPECT_EQ(locked.journal.Count(kAsked) + generic.journal.Count(kAsked), 0u);
}

TEST_F(StatusMonitorTest, RunsRequestsAndQueriesWhenTheyAreDue) {
  FakeStatusPort& port = AddIdlePort(0);
  FakeStatusPort& polled = AddIdlePort(2);
  ASSERT_TRUE(port.monitor.Start() && polled.monitor.Start());
  ASSERT_TRUE(port.monitor.WaitStarted() && polled.monitor.WaitStarted());
  const DWORD begin = GetTickCount();
  AddRequest(port, "NOW");
  AddRequest(port, "LATER", TickAfter(6000));
  AddRequest(port, "AGAIN", 0, 3000);
  AddRequest(polled, "LATER", TickAfter(6000));
  const struct {
    const char* command;
    size_t times;
    DWORD after;
  } rows[] = {{"sent NOW", 1, 0}, {"sent AGAIN", 1, 0}, {"sent AGAIN", 2, 3000}, {"sent LATER", 1, 6000}};
  for (const auto& row : rows) {
    ASSERT_TRUE(port.journal.WaitFor(row.command, row.times)) << row.command;
    const DWORD came = port.journal.Ticks(row.command)[row.times - 1] - begin;
    EXPECT_GE(came, row.after) << row.command;
    EXPECT_LT(came, row.after + kMoment) << row.command;
  }
  ASSERT_TRUE(polled.journal.WaitFor("sent LATER", 1, kMoment));
  EXPECT_EQ(port.journal.Count(kAsked), 0u);

  // In the midst of a job a request waits, also one that repeats, and the thread rests meanwhile.
  port.inJobData = polled.inJobData = true;
  AddRequest(port, "ALONE");
  AddRequest(polled, "ALONE");
  SetEvent(port.events.Query());
  Sleep(4000);
  const size_t again = port.journal.Count("sent AGAIN"), cycles = port.journal.Count("refresh");
  Sleep(4000);
  EXPECT_EQ(port.journal.Count("sent ALONE") + polled.journal.Count("sent ALONE"), 0u);
  EXPECT_EQ(port.journal.Count("sent AGAIN"), again);
  EXPECT_LE(port.journal.Count("refresh"), cycles + 4);
  port.inJobData = polled.inJobData = false;
  SetEvent(port.events.Query());
  EXPECT_TRUE(port.journal.WaitFor("sent ALONE", 1, kMoment));
  SetEvent(polled.events.Query());
  EXPECT_TRUE(polled.journal.WaitFor("sent ALONE", 1, kMoment));

  // A run of the queue goes before polling.
  polled.journal.Clear();
  polled.monitor.Queries().Add("Q1", "one");
  polled.monitor.Queries().Add("Q2", "two");
  ASSERT_TRUE(polled.monitor.BeginQueries());
  SetEvent(polled.events.Query());
  Eventually([&] { return !polled.monitor.IsQuerying(); });
  const std::string sent = polled.journal.Only({kAsked, "sent Q1", "sent Q2"});
  EXPECT_NE(sent.find(" sent Q1 sent Q2"), std::string::npos) << sent;
  EXPECT_EQ(polled.monitor.Queries().ResponseAt(1), "1\n");
}

TEST_F(StatusMonitorTest, DoesNotWaitForEverForARefusedStatusChannel) {
  FakeStatusPort& port = AddPort(2);
  port.plugin.statusChannel = true;
  port.Set(kSendTimeout, 3000);
  ASSERT_TRUE(port.monitor.Start() && port.journal.WaitFor("status 1"));
  port.connection.refusesStatus = true;
  EXPECT_TRUE(port.journal.WaitFor("status 5"));
  AddRequest(port, "A");
  port.monitor.Queries().Add("Q", "q");
  ASSERT_TRUE(port.monitor.BeginQueries());
  Eventually([&] {
    return !port.monitor.IsQuerying() && port.monitor.Requests().FindCopy("q", "r")->status == RequestStatus::Failed;
  });
  EXPECT_FALSE(port.monitor.BeginQueries()) << "the job that waits for them goes on";
  port.connection.refusesStatus = false;
  EXPECT_TRUE(port.journal.WaitFor("status 1", 2));
}

TEST_F(StatusMonitorTest, NeitherWaitsForEverForARefusedDocumentNorHastens) {
  for (const LONG mode : {0, 3}) {
    for (const auto kind : {ConnectionKind::Tcp, ConnectionKind::Com}) {
      FakeStatusPort& port = AddPort(mode, "1\n", kind);
      port.refusesDocuments = true;
      port.Set(kIdleInterval, 1000);
      port.Set(kSendTimeout, 5000);
      AddRequest(port, "A");
    }
  }
  StartAll();
  for (const auto& port : ports_) {
    Eventually([&] { return port->monitor.Requests().FindCopy("q", "r")->status == RequestStatus::Failed; });
    EXPECT_GE(port->journal.Count("begin"), 2u);
    EXPECT_LE(port->journal.Count("begin"), 10u);
    EXPECT_EQ(port->journal.Count("status 5"), 0u) << "which nobody follows";
  }
}

TEST_F(StatusMonitorTest, LeavesAPrinterTimeForPrintData) {
  const struct {
    const char* what;
    bool open, firstWrite, queries, asks;
  } rows[] = {
      {"more data to come", true, false, false, false},
      {"all data sent", false, false, false, true},
      {"the job's data not begun", true, true, false, true},
      {"a job of queries", true, false, true, true},
  };
  for (const auto& row : rows) {
    FakeStatusPort& port = AddPort(2);
    port.jobOpen = row.open;
    port.firstWritePending = row.firstWrite;
    if (row.queries) port.monitor.Queries().Add("Q", "never begun");
    port.Set(kActiveInterval, 8000);
    port.monitor.BeginJob();
    port.monitor.Touch();
  }
  StartAll();
  for (const DWORD begin = GetTickCount(); GetTickCount() - begin < 30000; Sleep(100)) {
    for (const auto& port : ports_) port->monitor.Touch();
  }
  for (size_t i = 0; i < std::size(rows); ++i)
    EXPECT_EQ(ports_[i]->journal.Count(kAsked) > 0, rows[i].asks) << rows[i].what;
  EXPECT_TRUE(ports_[0]->journal.WaitFor(kAsked, 1, 8000 + kMoment));
}

TEST_F(StatusMonitorTest, KeepsARequestForTheStatusWhileTheConnectionIsBusy) {
  FakeStatusPort& port = AddIdlePort(2);
  ASSERT_TRUE(port.monitor.Start() && port.monitor.WaitStarted());
  for (const bool atDocument : {false, true}) {
    port.journal.Clear();
    OSynchronizer& lock = port.DocumentLock();
    atDocument ? lock.Lock() : port.connection.Lock();
    std::thread waits([&] { EXPECT_TRUE(port.events.RequestStatus(3000 + kMoment)); });
    Sleep(3000);
    EXPECT_EQ(port.journal.Count("begin"), 0u);
    atDocument ? lock.Unlock() : port.connection.Unlock();
    waits.join();
    EXPECT_EQ(port.journal.Count(kAsked), 1u);
  }
}

TEST_F(StatusMonitorTest, GoesOnAfterAFaultOfThePlugin) {
  FakeStatusPort& port = AddIdlePort(2, "throw\n");
  ASSERT_TRUE(port.monitor.Start() && port.monitor.WaitStarted());
  EXPECT_FALSE(port.events.RequestStatus(3000));
  ASSERT_TRUE(port.journal.WaitFor("end"));
  EXPECT_EQ(port.journal.Only({"begin", "end"}), " begin end");
  ASSERT_TRUE(port.connection.TryLock());
  port.connection.Unlock();
  port.connection.AnswerWith({{0, "8\n"}});
  EXPECT_TRUE(port.events.RequestStatus(kMoment));
  EXPECT_EQ(port.monitor.CurrentStatus(), PrinterStatus(8));
}

TEST_F(StatusMonitorTest, StopsWhereverItWaits) {
  const struct {
    const char* where;
    std::function<void(FakeStatusPort&)> prepare;
    LONG mode = 2;
    const char* signOfIt = "refresh";
  } rows[] = {
      {"idle", [](auto&) {}, 0},
      {"for the next poll", [](auto&) {}},
      {"without bidirectional support", [](auto& port) { port.SetBidirectional(false); }},
      {"while the printer cannot be opened", [](auto& port) { port.failingLoads = 1000000; }, 2, "load"},
      {"offline", [](auto& port) { port.monitor.SetStatusOffline(); }},
      {"for an answer", [](auto& port) { SetEvent(port.events.StatusRequest()); }, 2, kAsked},
      {"for a printer that takes nothing",
       [](auto& port) {
         port.connection.refuses = true;
         SetEvent(port.events.StatusRequest());
       },
       2, "refused ?\n"},
      {"for the answer to a request", [](auto& port) { AddRequest(port, "A"); }, 0, "sent A"},
      {"for the answer to a query",
       [](auto& port) {
         port.monitor.Queries().Add("Q", "query");
         port.monitor.Queries().BeginQueries();
       },
       0, "sent Q"},
      {"for the printer to work on its data",
       [](auto& port) {
         port.Set(kActiveInterval, kLong);
         port.monitor.BeginJob();
         port.jobOpen = true;
         SetEvent(port.events.StatusRequest());
       },
       2, "protocol"},
      {"for the connection",
       [](auto& port) {
         port.connection.Lock();
         SetEvent(port.events.StatusRequest());
       }},
  };
  for (const auto& row : rows) {
    FakeStatusPort& port = AddIdlePort(row.mode, "");
    port.Set(kResponseTimeout, kLong);
    port.Set(kSendTimeout, kLong);
    row.prepare(port);
  }
  for (size_t i = 0; i < std::size(rows); ++i) {
    SCOPED_TRACE(rows[i].where);
    FakeStatusPort& port = *ports_[i];
    ASSERT_TRUE(port.monitor.Start());
    ASSERT_TRUE(port.journal.WaitFor(rows[i].signOfIt));
    Sleep(300);
    const bool wasOffline = port.monitor.CurrentStatus() == PrinterStatus(5);
    const DWORD begin = GetTickCount();
    port.monitor.Stop();
    EXPECT_LT(GetTickCount() - begin, kMoment);
    // It leaves a ready printer behind, and nothing open.
    EXPECT_EQ(port.journal.Only({"status 1", "unload"}).ends_with(" status 1 unload"),
              wasOffline || rows[i].where == std::string("without bidirectional support"));
    EXPECT_EQ(port.journal.Only({"close", "unload"}), " close unload");
    EXPECT_EQ(port.journal.Count("begin"), port.journal.Count("end"));
    EXPECT_FALSE(port.monitor.WaitStarted());
  }
  ports_.back()->connection.Unlock();
}

}  // namespace
}  // namespace portwise
