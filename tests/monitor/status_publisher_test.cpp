#include "monitor/status_publisher.h"

#include <windows.h>
#include <winspool.h>

#include <atomic>
#include <chrono>
#include <numeric>
#include <thread>

#include "core/thread_local_singleton.h"
#include "monitor/status_updates.h"
#include "settings/printer_registry.h"
#include "tests/locale/locale_fixture.h"
#include "tests/support/fake_spooler.h"
#include "tests/support/print_ostring.h"

namespace portwise {
namespace {

using Codes = std::vector<DWORD>;

PrinterStatus StatusOf(const Codes& codes) {
  PrinterStatus status(codes.front());
  for (size_t i = 1; i < codes.size(); ++i) status.Add(codes[i]);
  return status;
}

struct FakePort final : PublishingPort {
  StatusSubject Subject() const override { return {"Labels", job, "Labels"}; }
  /// Gives others time between two steps of a publication.
  DriverSettings& SettingValues() override {
    std::this_thread::sleep_for(std::chrono::microseconds(200));
    return settings;
  }
  JobRecords& Jobs() override { return records; }
  JobLogger& JobLog() override { return log; }

  std::atomic<DWORD> job = 7;
  DriverSettings settings;
  JobRecords records;
  JobLogger log;
};

class StatusPublisherTest : public LocaleTest {
 protected:
  StatusPublisherTest() {
    platform::SetSystemLocale("en_US");
    spooler_.noJob = 99;
    spooler_.printers["Labels"] = {"FILE:", "", {{"comment", "Dock"}, {"location", "Hall 3"}}};
    spooler_.jobTexts = {{"document", "a.prn"}, {"machine", "PC"}};
    PrinterRegistry registry("Labels");
    registry.SetDword("Settings:Status/Status Monitoring Mode", 1);
    registry.SetBool("Settings:Status/Advanced Status Comment", true);
    port_.settings.Init(registry);
  }
  ~StatusPublisherTest() override { ThreadLocalSlot::DestroyObjects(); }
  void Publish(const Codes& codes) { publisher_.Publish(StatusOf(codes)); }
  /// How many orders the spooler got since the last call.
  int NewOrders() {
    const int all = std::accumulate(spooler_.orders.begin(), spooler_.orders.end(), 0,
                                    [](int sum, const auto& order) { return sum + order.second; });
    return all - std::exchange(seen_, all);
  }
  std::string Comment() { return spooler_.printers["Labels"].facts.value("comment", ""); }
  /// The operations that changed something since the last call.
  std::string Changes() {
    std::string changes;
    for (const auto& change : std::exchange(spooler_.changes, {})) changes += change.value("op", "") + " ";
    return changes;
  }
  void LogEvents() {
    const OString log = "Settings:Logging/Events/";
    PrinterRegistry registry("Labels");
    registry.SetBool(log + "Enabled", true);
    registry.SetString(log + "LoggingDirectory", "C:\\Logs");
    registry.SetDword(log + "LogType", 2);
    registry.SetDword(log + "EventsFilter", 7);
    registry.SetDword(log + "Fields/EventID/Format", 1);
    registry.SetDword(log + "Fields/Description/Order", 1);
    port_.log.JobStart("Labels", "FILE:", port_.job, "");
  }
  std::string LoggedEvents() { return ReadBytes(home_.Drive() / "Logs/Events.csv"); }

  FakeSpooler spooler_;
  FakePort port_;
  StatusText texts_;
  StatusPublisher publisher_{port_, texts_};
  int seen_ = 0;
};

TEST_F(StatusPublisherTest, KeepsWhatPeopleWroteInTheComment) {
  const struct {
    const char *comment, *status, *updated;
  } rows[] = {{"", "T", "T\u00a0"},
              {"Dock", "T", "T;\u00a0Dock"},
              {"S;\u00a0Dock", "T", "T;\u00a0Dock"},
              {"S;\u00a0Dock", "", "Dock"},
              {"S\u00a0", "", ""},
              {"S;\u00a0", "T", "T\u00a0"},
              {"S;\u00a0a;\u00a0b\u00a0", "T", "T;\u00a0a;\u00a0b\u00a0"},
              {"\u00a0Dock; 3;", "T", "T;\u00a0\u00a0Dock; 3;"}};
  for (const auto& row : rows)
    EXPECT_EQ(CommentWithStatus(OString(row.comment, CP_UTF8), row.status), OString(row.updated, CP_UTF8))
        << row.comment << "|" << row.status;
}

TEST_F(StatusPublisherTest, TellsTheSpoolerOncePerStatusAndJob) {
  spooler_.jobStatus = 0x72 | JOB_STATUS_SPOOLING | JOB_STATUS_USER_INTERVENTION;
  Publish({0x10001, 0x20001});
  EXPECT_EQ(GetLastError(), DWORD{ERROR_OUT_OF_PAPER});
  ASSERT_EQ(spooler_.changes.size(), 3u);
  const auto &job = spooler_.changes[0], &status = spooler_.changes[1], &printer = spooler_.changes[2];
  EXPECT_TRUE(job["job"] == 7u && job["document"] == "a.prn" && job["position"] == JOB_POSITION_UNSPECIFIED) << job;
  EXPECT_EQ(job["status"], JOB_STATUS_SPOOLING | JOB_STATUS_USER_INTERVENTION | JOB_STATUS_PAPEROUT);
  EXPECT_EQ(job["statusText"], "Out of Paper - Ribbon Low");
  EXPECT_EQ(status["status"], PRINTER_STATUS_PAPER_OUT);
  EXPECT_EQ(printer["comment"], "Ribbon Low;\u00a0Dock") << "the spooler's flags tell the rest";
  EXPECT_EQ(printer["location"], "Hall 3");
  EXPECT_EQ(Changes(), "job-set printer-status-set printer-set ");

  NewOrders();
  SetLastError(1);
  Publish({0x10001, 0x20001});
  EXPECT_EQ(NewOrders(), 0);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_OUT_OF_PAPER});
  port_.job = 8;
  Publish({0x10001, 0x20001});
  EXPECT_EQ(Changes(), "job-set printer-status-set ") << "the comment is as it was";
  port_.job = 0;
  Publish({0x10001, 0x20001});
  EXPECT_EQ(Changes(), "printer-status-set ");
  NewOrders();
  Publish({0x10001, 0x20001});
  EXPECT_EQ(NewOrders(), 0) << "between jobs too";

  Publish({0x20001, 0x10001});
  EXPECT_EQ(GetLastError(), 0u) << "that of the first code";
  EXPECT_EQ(Changes(), "printer-status-set ") << "another order is another status";
  Publish({1});
  EXPECT_EQ(Comment(), "Dock");
  port_.settings.DisableStatusMonitoring();
  Publish({0x20001});
  EXPECT_EQ(Comment(), "Dock");
}

TEST_F(StatusPublisherTest, RaisesEventsAndCountsThem) {
  LogEvents();
  auto added = std::make_unique<StatusRecord_Job>();
  added->jobId = 7;
  port_.records.Add(std::move(added));
  const struct {
    Codes codes;
    const char* line;
    DWORD warnings, errors;
  } rows[] = {
      {{1}, "200,Ready\r\n", 0, 0},
      {{1, 0x20001}, "301,\"Ready, Ribbon Low\"\r\n", 1, 0},
      {{3}, "", 1, 0},
      {{1}, "", 1, 0},
      {{8}, "303,Label Present\r\n", 1, 0},
      {{4, 0x10001}, "303,\"Printer Paused, Out of Paper\"\r\n", 1, 0},
      {{0x20001, 0x10001}, "901,\"Ribbon Low, Out of Paper\"\r\n", 1, 1},
      {{1, 0x10012}, "200,\"Ready, Head Open\"\r\n", 1, 1},
      {{10}, "301,Battery Low\r\n", 2, 1},
      {{5}, "901,Offline\r\n", 2, 2},
  };
  std::string log;
  for (const auto& row : rows) {
    const bool error = JobRecords::Hold(port_.records, 7)->errorCount != row.errors;
    JobRecords::Hold(port_.records, 7)->SetState(JobState::Printing);
    Publish(row.codes);
    log += row.line;
    EXPECT_EQ(LoggedEvents(), log);
    const JobRecords::Hold record(port_.records, 7);
    EXPECT_TRUE(record->warningCount == row.warnings && record->errorCount == row.errors) << row.line;
    EXPECT_EQ(record->state, error ? JobState::UserIntervention : JobState::Printing) << row.line;
  }
  port_.settings.DisableStatusMonitoring();
  Publish({0x10031});
  EXPECT_EQ(LoggedEvents(), log + "901,Paper Jam\r\n");
  port_.settings.SetStatusMonitoringMode(1);
  port_.job = 8;  // has no record
  Publish({0x10032});
  EXPECT_EQ(JobRecords::Hold(port_.records, 7)->errorCount, 2u);
}

TEST_F(StatusPublisherTest, GoesOnWhereTheSpoolerRefuses) {
  LogEvents();
  port_.job = spooler_.noJob;
  Publish({0x10001});
  EXPECT_EQ(Changes(), "printer-status-set ") << "its text is one that the flags tell";
  NewOrders();
  Publish({0x10001});
  EXPECT_EQ(NewOrders(), 0) << "the job counts as told";

  const auto printer = spooler_.printers["Labels"];
  spooler_.printers.clear();
  Publish({0x10020});
  EXPECT_EQ(GetLastError(), DWORD{ERROR_BAD_COMMAND});
  EXPECT_EQ(publisher_.Current(), StatusOf({0x10020}));
  EXPECT_EQ(Changes(), "");
  EXPECT_EQ(LoggedEvents(), "901,Out of Paper\r\n");
  spooler_.printers["Labels"] = printer;
  NewOrders();
  Publish({0x10020});
  EXPECT_EQ(NewOrders(), 0);
}

TEST_F(StatusPublisherTest, SpeaksThePortsLanguageAndOthers) {
  const PrinterStatus paused(4);
  const OString german = "Drucker angehalten", english = "Printer Paused";
  const OString japanese = TEXT("\u30D7\u30EA\u30F3\u30BF\u30FC\u4E00\u6642\u505C\u6B62");
  EXPECT_EQ(texts_.Of(paused, 0), english);
  platform::SetSystemLocale("de_DE");
  EXPECT_EQ(texts_.Of(paused, 0), german);
  EXPECT_EQ(texts_.In("jpn", paused, 0), japanese);
  EXPECT_EQ(texts_.In("xyz", paused, 0), english);
  EXPECT_EQ(TemporaryFiles(), 1);
  std::filesystem::remove(archive_);
  EXPECT_EQ(texts_.Of(paused, 0), german) << "nothing is loaded again";
  EXPECT_EQ(texts_.In("DEU", paused, 0), german);
  EXPECT_EQ(texts_.In("sys", paused, 0), english) << "a new one";
  platform::SetSystemLocale("ja_JP");
  EXPECT_EQ(texts_.Of(paused, 0), english);
}

TEST_F(StatusPublisherTest, PublishesOneAfterTheOther) {
  const auto publish = [this](const Codes& first, const Codes& second, DWORD error) {
    for (int i = 0; i < 100; ++i) {
      Publish(i % 2 ? first : second);
      EXPECT_EQ(GetLastError(), error);
      EXPECT_EQ(publisher_.Current().Codes().Size(), 2);
      texts_.In(i % 2 ? "enu" : "deu", publisher_.Current(), 0);
    }
    ThreadLocalSlot::DestroyObjects();
  };
  std::thread other([&] { publish({0x10001, 0x10012}, {0x10001, 0x10033}, ERROR_OUT_OF_PAPER); });
  publish({0x20001, 0x10031}, {0x20000, 0x10001}, 0);
  other.join();
  const PrinterStatus last = publisher_.Current();
  EXPECT_EQ(spooler_.printers["Labels"].facts["status"], last.SpoolerFlags());
  EXPECT_EQ(Comment(), std::string(texts_.Of(last, 5).InCodePage(kCodePageUtf8)) + ";\u00a0Dock");
  for (size_t i = 0; i < spooler_.changes.size(); ++i) {
    if (spooler_.changes[i]["op"] != "job-set") continue;
    ASSERT_LT(i + 1, spooler_.changes.size());
    EXPECT_EQ(spooler_.changes[i + 1]["op"], "printer-status-set") << i;
  }
}

}  // namespace
}  // namespace portwise
