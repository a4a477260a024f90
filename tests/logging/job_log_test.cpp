#include <gtest/gtest.h>
#include <windows.h>

#include <cstdio>
#include <filesystem>
#include <latch>
#include <set>
#include <thread>
#include <vector>

#include "core/thread_local_singleton.h"
#include "logging/job_logger.h"
#include "platform/eventlog/event_reader.h"
#include "settings/logical_path.h"
#include "settings/printer_registry.h"
#include "tests/support/environment.h"
#include "tests/support/fake_spooler.h"
#include "tests/support/file_size_limit.h"
#include "tests/support/files.h"
#include "tests/support/print_ostring.h"
#include "tests/support/temporary_home.h"

namespace portwise {
namespace {

namespace fs = std::filesystem;
using Rows = std::vector<std::vector<std::string>>;

/// The rows of a file whose lines end in CR LF.
Rows ReadCsv(const std::string& text) {
  Rows rows;
  std::vector<std::string> fields(1);
  bool quoted = false;
  for (size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '"') {
      if (!quoted && at > 0 && text[at - 1] == '"') fields.back() += '"';
      quoted = !quoted;
    } else if (!quoted && text[at] == ',') {
      fields.emplace_back();
    } else if (!quoted && text[at] == '\n') {
      rows.push_back(std::exchange(fields, {""}));
    } else if (quoted || text[at] != '\r') {
      fields.back() += text[at];
    }
  }
  return rows;
}

class JobLogs : public testing::Test {
 protected:
  struct Field {
    const char* key;
    DWORD format = 0;
    LONG order = 1;
    const char* parameters = "";
  };

  JobLogs() {
    spooler_.printers["Labels"] = {"dock", ""};
    spooler_.jobTexts = {{"document", "report.final.prn"},
                         {"user", "ann"},
                         {"machine", "DESK"},
                         {"driver", "Thermal"},
                         {"submitted", "2024-02-29T23:59:58.125Z"}};
  }

  ~JobLogs() override { ThreadLocalSlot::DestroyObjects(); }

  /// A CSV log in the folder "logs", unless other settings say otherwise.
  void Configure(const OString& name, LogType type, const std::vector<Field>& fields,
                 const std::map<std::string, DWORD>& numbers = {}) {
    PrinterRegistry registry("Labels");
    registry.SetBasePath(OString("Settings:Logging/") + EscapeName(name));
    registry.SetBool("Enabled", true);
    registry.SetDword("LogType", static_cast<DWORD>(type));
    registry.SetString("LoggingDirectory", OString(Folder()));
    for (const auto& [key, value] : numbers) {
      const bool flag = key == "Enabled" || key == "IncludeHeaderRecord" || key == "DisplayEmptyFields";
      EXPECT_TRUE(flag ? registry.SetBool(OString(key), value != 0) : registry.SetDword(OString(key), value));
    }
    for (const Field& field : fields) {
      const OString key = OString("Fields/") + field.key + "/";
      registry.SetString(key + "Name", OString("The ") + field.key);
      registry.SetDword(key + "Format", field.format);
      registry.SetDword(key + "Order", static_cast<DWORD>(field.order));
      registry.SetString(key + "Parameters", field.parameters);
    }
  }
  void Start(JobLogger* logger) { logger->JobStart("Labels", "dock", 7, "C:\\r.prn"); }

  std::string Folder() const { return (home_.Path() / "new" / "logs").string(); }
  std::string Text(const std::string& file) const { return ReadBytes(Folder() + "/" + file); }
  Rows Read(const std::string& file) const { return ReadCsv(Text(file)); }

  TemporaryHome home_;
  FakeSpooler spooler_;
};

TEST_F(JobLogs, RecordJobsPagesAndEvents) {
  const std::vector<Field> count = {{"Size", 1, 1}, {"PageIndex", 1, 2}, {"PageCount", 1, 3}};
  Configure("jobs", LogType::Jobs,
            {{"JobName"},
             {"UserName", 0, 2},
             {"ClientName", 0, 3},
             {"ModelName", 0, 4},
             {"Port", 0, 5},
             {"RecordFileName", 0, 6},
             {"SubmittedTime", 3, 7, "%d.%m.%Y %H:%M:%S"},
             {"Size", 1, 8},
             {"PageIndex", 1, 9},
             {"Warnings", 1, 10},
             {"Errors", 1, 11},
             {"Status", 0, 12}},
            {{"IncludeHeaderRecord", 1}});
  Configure("pages", LogType::Pages, count);
  Configure("events", LogType::Events, {{"EventID", 1}, {"Type", 0, 2}, {"Category", 1, 3}, {"PageIndex", 1, 4}});
  Configure("off", LogType::Jobs, count, {{"Enabled", 0}});
  Configure("odd", LogType::Jobs, count, {{"Format", 7}});
  const EasternTime zone;
  JobLogger logger;
  Start(&logger);
  logger.JobEnd();
  EXPECT_EQ(Text("jobs.csv"), "") << "a job without data";
  logger.PageEnd(2);
  logger.AddBytes(900);
  logger.AddPages(5);
  logger.PageEnd(3);
  logger.PageEnd(1);
  logger.AddBytes(1);
  logger.PageEnd(1);
  for (const DWORD event : {300, 305, 900, 901, 909, 1000, 50}) logger.Event(event, "what");
  logger.SetStatus("completed");
  logger.JobEnd();
  EXPECT_EQ(Read("pages.csv"), (Rows{{"900", "1", "5"}, {"0", "2", "5"}, {"0", "3", "5"}, {"1", "4", "5"}}));
  const Rows jobs = Read("jobs.csv");
  ASSERT_EQ(jobs.size(), 2u);
  EXPECT_EQ(jobs[0][6], "The SubmittedTime");
  EXPECT_EQ(jobs[1], (std::vector<std::string>{"report.final", "ann", "DESK", "Thermal", "dock", "C:\\r.prn",
                                               "01.03.2024 02:59:58", "901", "0", "1", "3", "completed"}));
  EXPECT_EQ(Read("events.csv"), (Rows{{"300", "Warning", "300", "5"},
                                      {"305", "Warning", "300", "5"},
                                      {"900", "Error", "900", "5"},
                                      {"909", "Error", "900", "5"},
                                      {"1000", "Error", "900", "5"},
                                      {"50", "Information", "0", "5"}}))
      << "901 is not asked for";
  EXPECT_EQ(std::distance(fs::directory_iterator(Folder()), fs::directory_iterator()), 3);

  PrinterRegistry("Labels").Delete("Settings:Logging", true);
  logger.Event(50, "still as loaded");
  EXPECT_EQ(Read("events.csv").size(), 7u);
  logger.Reload();
  logger.Event(50, "lost");
  EXPECT_EQ(Read("events.csv").size(), 7u);
}

TEST_F(JobLogs, EventsAreFilteredByTheirKind) {
  const int events[] = {0, 1, 2, 3, 99, 100, 101, 102, 103, 104, 199, 200, 201, 300, 301, 304, 305, 900, 901, 908, 909};
  // Both together tell the kinds apart; what is of no kind is always recorded.
  const std::pair<DWORD, std::set<int>> rows[] = {{0x31, {102, 103, 301, 304, 901, 908}},
                                                  {0x52, {1, 2, 101, 103, 200, 901, 908}}};
  for (const auto& [filter, leftOut] : rows) {
    fs::remove_all(Folder());
    Configure("events", LogType::Events, {{"EventID", 1}}, {{"EventsFilter", filter}});
    JobLogger logger;
    Start(&logger);
    Rows expected;
    for (const int event : events) {
      logger.Event(static_cast<DWORD>(event), "");
      if (!leftOut.contains(event)) expected.push_back({std::to_string(event)});
    }
    EXPECT_EQ(Read("events.csv"), expected) << filter;
  }
}

TEST_F(JobLogs, CsvKeepsEveryTextWhole) {
  const std::vector<std::string> texts = {
      "plain", "", "a,b", "say \"hi\"", "\"", " led", "two\r\nlines", "lf\nalone", "\u00e4\u00df\u20ac", "\"\",\r\n "};
  Configure("a,\"b\"", LogType::Events, {{"Description"}, {"EventID", 1, 2}, {"Errors", 9, 3}},
            {{"IncludeHeaderRecord", 1}});
  JobLogger logger;
  Start(&logger);
  Rows expected{{"The Description", "The EventID", "The Errors"}};
  for (const std::string& text : texts) {
    logger.Event(50, OString(text, CP_UTF8));
    expected.push_back({Ansi(text), "50", ""});
  }
  // The name of the log is not one that files can have.
  EXPECT_EQ(Read("a,_b_.csv"), expected);
  const std::string bytes = Text("a,_b_.csv");
  EXPECT_EQ(bytes.find("plain,50,\r\n,50,\r\n\"a,b\",50,\r\n"), bytes.find("plain"));
  JobLogger another;
  Start(&another);
  another.Event(51, "x");
  expected.push_back({"x", "51", ""});
  EXPECT_EQ(Read("a,_b_.csv"), expected) << "one header a file";
}

TEST(LogField, WritesTimesAsItsFormatSays) {
  const SYSTEMTIME time = {2024, 2, 4, 29, 7, 5, 9, 0};
  const struct {
    std::string format, text;
  } rows[] = {{"%d.%m.%y %I%p", "29.02.24 07AM"},
              {"%F %T|%R|%D|%h", "2024-02-29 07:05:09|07:05|02/29/24|Feb"},
              {"%e%t%r", "29\t07:05:09 AM"},
              {"100%% %Q %Ey %", "100% %Q %Ey %"},
              {"", ""},
              {std::string(127, 'x'), std::string(127, 'x')},
              {std::string(128, 'x'), ""}};
  for (const auto& row : rows) {
    logField field;
    field.format = 3;
    field.parameters = OString(row.format);
    OString text = "old";
    EXPECT_TRUE(FormatLogValue(time, field, &text));
    EXPECT_EQ(text, OString(row.text)) << row.format;
    EXPECT_TRUE(FormatLogValue(SYSTEMTIME{}, field, &text) && text.IsEmpty()) << "a time that is not known";
  }
}

TEST_F(JobLogs, TextIsAlignedAndFilesAreNamed) {
  const std::vector<Field> fields = {{"Size", 1, -1}, {"UserName", 0, 5}, {"JobName", 0, 5}, {"Status", 0, 9}};
  Configure("text", LogType::Jobs, fields, {{"Format", 1}, {"DataOffset", 20}, {"DisplayEmptyFields", 1}});
  Configure("more", LogType::Jobs, fields, {{"Format", 3}, {"LogOrganization", 1}});
  Configure("number", LogType::Jobs, fields, {{"LogOrganization", 3}});
  Configure("date", LogType::Jobs, fields, {{"LogOrganization", 2}});
  Configure("none", LogType::Jobs, fields, {{"LogOrganization", 4}});
  fs::create_directories(Folder());
  for (const char* taken : {"/number_1.csv", "/number_2.csv"}) WriteBytes(Folder() + taken, "old");
  const auto today = [this] {
    SYSTEMTIME now = {};
    GetSystemTime(&now);
    char date[32];
    std::snprintf(date, sizeof date, "/%02u%02u%u.csv", now.wMonth, now.wDay, now.wYear);
    return Folder() + date;
  };
  const std::string before = today();
  JobLogger logger;
  Start(&logger);
  logger.AddBytes(1200);
  logger.JobEnd();
  const std::string line(59, '-');
  // Of two with one order the later comes first.
  EXPECT_EQ(Text("text.txt"), line +
                                  "\r\nThe Size:           1200 bytes\r\nThe UserName:       ann\r\n"
                                  "The JobName:        report.final\r\nThe Status:         \r\n");
  EXPECT_EQ(Text("report.final.txt"),
            line + "\r\nThe Size: 1200 bytes\r\nThe UserName: ann\r\nThe JobName: report.final\r\n");
  EXPECT_EQ(Read("number_3.csv"), (Rows{{"1200", "ann", "report.final", ""}}));
  EXPECT_EQ(Text("number_2.csv"), "old");
  EXPECT_TRUE(fs::exists(before) || fs::exists(today()));
  EXPECT_EQ(std::distance(fs::directory_iterator(Folder()), fs::directory_iterator()), 6);
}

TEST_F(JobLogs, TheEventLogTakesRecordsOfKnownCategories) {
  const std::vector<Field> fields = {{"Category", 1, 0}, {"EventID", 1, 1}, {"Description", 0, 2}};
  Configure("entries", LogType::Events, fields, {{"Format", 2}});
  Configure("silent", LogType::Events, {{"EventID", 1, 1}}, {{"Format", 2}});
  JobLogger logger;
  Start(&logger);
  for (const DWORD event : {50, 350, 950}) logger.Event(event, "text");
  std::int64_t after = 0;
  std::vector<platform::Event> events;
  ASSERT_EQ(platform::ReadEvents(&after, {}, 100, &events), ERROR_SUCCESS);
  std::string seen;
  for (const platform::Event& event : events) {
    seen += std::to_string(event.type) + " " + std::to_string(event.category) + " " +
            std::string(OString(event.strings.front()).Narrow()) + "|";
  }
  EXPECT_EQ(seen,
            "4 0 The EventID: 50\rThe Description: text\r|2 300 The EventID: 350\rThe Description: text\r|"
            "1 900 The EventID: 950\rThe Description: text\r|");
}

TEST_F(JobLogs, PortsThatShareAFileLoseNothing) {
  Configure("shared", LogType::Events, {{"EventID", 1}, {"Description", 0, 2}}, {{"IncludeHeaderRecord", 1}});
  Configure("sharing", LogType::Events, {{"EventID", 1}, {"Description", 0, 2}}, {{"Format", 1}});
  std::vector<std::thread> ports;
  std::latch started(4);
  for (DWORD port = 0; port < 4; ++port) {
    ports.emplace_back([&, port] {
      JobLogger logger;
      Start(&logger);
      started.arrive_and_wait();
      for (int i = 0; i < 200; ++i) logger.Event(400 + port, OString(std::string(100 * port, 'x')));
      ThreadLocalSlot::DestroyObjects();
    });
  }
  for (std::thread& port : ports) port.join();
  const Rows rows = Read("shared.csv");
  ASSERT_EQ(rows.size(), 801u);
  for (size_t i = 1; i < rows.size(); ++i) EXPECT_EQ(rows[i][1].size(), 100 * std::stoul(rows[i][0]) - 40000);
  std::string text = Text("sharing.txt");
  for (size_t port = 0; port < 4; ++port) {
    std::string block = std::string(59, '-') + "\r\nThe EventID: 40" + std::to_string(port) + "\r\n";
    if (port > 0) block += "The Description: " + std::string(100 * port, 'x') + "\r\n";
    int blocks = 0;
    for (size_t at; (at = text.find(block)) != text.npos; ++blocks) text.erase(at, block.size());
    EXPECT_EQ(blocks, 200);
  }
  EXPECT_EQ(text, "");
}

TEST_F(JobLogs, WhatCannotBeWrittenIsLost) {
  fs::create_directories(home_.Path() / "new");
  WriteBytes(Folder(), "a file");
  Configure("jobs", LogType::Events, {{"EventID", 1}});
  Configure("fieldless", LogType::Events, {}, {{"IncludeHeaderRecord", 1}});
  Configure("texts", LogType::Events, {{"Description"}});
  JobLogger logger;
  Start(&logger);
  logger.Event(1000, "lost");
  EXPECT_TRUE(fs::is_regular_file(Folder()));
  fs::remove(Folder());
  logger.Event(1000, "written");
  EXPECT_EQ(Text("jobs.csv"), "1000\r\n");
  EXPECT_EQ(Text("fieldless.csv"), "");
  const FileSizeLimit full(3000);
  logger.Event(1000, OString(std::string(5000, 'x')));
  EXPECT_EQ(Text("texts.csv"), "written\r\n") << "nor does a part of it stay";
}

}  // namespace
}  // namespace portwise
