#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>

#include "core/thread_local_singleton.h"
#include "logging/job_logger.h"
#include "tests/support/print_ostring.h"
#include "tests/support/spooler_home.h"

namespace portwise::test {
namespace {

using Json = nlohmann::json;

class Logs : public testing::Test {
 protected:
  Logs() { EXPECT_TRUE(home_.Start("dock", {"Labels", "Other"})) << home_.Errors(); }
  ~Logs() override { ThreadLocalSlot::DestroyObjects(); }

  /// Without a text, nothing may be told.
  static void Expect(const std::string& command, int code, const std::string& told = {}) {
    const std::string output = ExpectRun("log " + command, code, told);
    EXPECT_TRUE(output.empty() || !told.empty()) << output;
  }

  SpoolerHome home_;
};

TEST_F(Logs, AreWhatTheLoggerReads) {
  Expect("add labels 'a/b: %41' --dir '" + home_.File("new/logs/") + "'", 0);
  Expect(R"(add Labels pages --type pages --format text --dir 'C:\Logs' --column 12 --fields 'PageIndex=Seite,size')",
         0);
  Expect("add Labels entries --type events --format eventlog --events none", 0);
  Expect("add Other events --type events --dir " + home_.File("other") +
             " --fields EventID,Time=At --time-format '%Y' --events errors,job-start --no-header --disabled",
         0);
  JobLogger logger;
  logger.JobStart("Labels", "dock", 1, "");
  logger.AddBytes(1200);
  logger.PageEnd(1);
  logger.Event(100, "Job Start");
  logger.Event(350, "hot");
  logger.SetStatus("completed");
  logger.JobEnd();
  const std::string jobs = ReadFile(home_.File("new/logs/a_b_ %41.csv"));
  EXPECT_THAT(jobs, testing::StartsWith("Start time,End time,Printer name,Job name,User name,Client name,Size,Page "
                                        "count,Warnings,Errors,Status\r\n20"));
  EXPECT_THAT(jobs, testing::EndsWith(",Labels,,,,1200,0,1,0,completed\r\n"));
  EXPECT_THAT(ReadFile(home_.File("drive_c/Logs/pages.txt")),
              testing::EndsWith("-\r\nSeite:      1\r\nSize:       1200 bytes\r\n"));
  ExpectRun("events --json --severity warning", 0, "Event ID: 350\\rDescription: hot\\r");

  const Json all = RunJson("log list");
  ASSERT_EQ(all.size(), 4u) << all;
  EXPECT_EQ(RunJson("log list other").at(0), all[3]);
  const Json& other = all[3];
  EXPECT_EQ(other["events"], Json::array({"errors", "job-start"}));
  EXPECT_EQ(other["fields"][1], Json::parse(R"({"key": "Time", "caption": "At", "format": 3, "order": 2,
                                               "parameters": "%Y"})"));
  EXPECT_TRUE(other["enabled"] == false && other["header"] == false && other["organization"] == "log");
  EXPECT_EQ(RunJson("log show OTHER EVENTS"), other);
  Expect("show Labels pages", 0, "field:         PageIndex=Seite\n");
  Expect("list labels", 0, "Labels   pages     pages   text      yes      C:\\Logs\n");

  Expect("remove Labels 'A/b: %41'", 0);
  Expect("remove Labels 'a/b: %41'", 1, "has no log");
  EXPECT_EQ(RunJson("log list Labels").size(), 2u);
  EXPECT_TRUE(std::filesystem::exists(home_.File("new/logs/a_b_ %41.csv")));
}

TEST_F(Logs, RefuseWhatWouldWriteNothing) {
  std::filesystem::create_directories(home_.File("folder"));
  const std::string folder = " --dir " + home_.File("folder");
  const std::string file = home_.File("registry.db");
  Expect("add Labels taken" + folder, 0);
  const std::pair<std::string, const char*> rows[] = {
      {"Nobody x" + folder, "there is no printer Nobody"},
      {R"(Labels 'a\b')" + folder, "no backslash"},
      {"Labels TAKEN" + folder, "has a log TAKEN already"},
      {"Labels x --type job" + folder, "there is no type job; there are jobs, pages, events"},
      {"Labels x --fields Size,sizes" + folder, "there is no field \"sizes\"; there are StartTime, EndTime,"},
      {"Labels x --fields Size='At, exactly'" + folder, "there is no field"},
      {"Labels x --fields Size,size" + folder, "the field Size comes twice"},
      {"Labels x", "needs --dir"},
      {"Labels x --format eventlog" + folder, "leave out --dir"},
      {"Labels x --dir " + file + "/below", "cannot be made"},
      {"Labels x --dir /proc/portwise", "cannot be made"},
      {"Labels x --dir /proc", "cannot be written"},
  };
  for (const auto& [arguments, fault] : rows) Expect("add " + arguments, 1, fault);
  EXPECT_EQ(RunJson("log list").size(), 1u);
  EXPECT_TRUE(std::filesystem::is_empty(home_.File("folder"))) << "what was tried is left";
  home_.Stop();
  Expect("list", 1, "no spooler answers");
}

}  // namespace
}  // namespace portwise::test
