#include <gmock/gmock.h>
#include <sys/wait.h>
#include <windows.h>

#include <filesystem>
#include <thread>

#include "host/registry_key.h"
#include "tests/support/files.h"
#include "tests/support/spooler_home.h"

namespace portwise::test {
namespace {

using testing::HasSubstr;
using Json = nlohmann::json;

void Report(LPCWSTR source, std::vector<LPCWSTR> strings, WORD type, DWORD id) {
  const HANDLE handle = RegisterEventSourceW(nullptr, source);
  const auto count = static_cast<WORD>(strings.size());
  EXPECT_TRUE(ReportEventW(handle, type, 1, id, nullptr, count, 0, strings.data(), nullptr));
  DeregisterEventSource(handle);
}

Json AskEvents(const std::string& options = {}) { return RunJson("events " + options); }

TEST(Events, CommandShowsFiltersFollowsAndTellsOfDamage) {
  SpoolerHome home;
  EXPECT_EQ(RunProgram("portwise events").output, "");
  EXPECT_EQ(AskEvents("--last 3"), Json::array());
  RegistryKey::Create(R"(SYSTEM\CurrentControlSet\Services\Eventlog\System\Known)")
      .SetText("EventMessageFile", R"(C:\Windows\System32\msgtable.dll)");
  Report(u"Known", {u"shown\r\nbelow\x1b\u009b1m\r\n", u"second"}, EVENTLOG_WARNING_TYPE, 0x80FF0500);
  Report(u"Unknown", {u"gr\u00FC\u00DFe"}, EVENTLOG_ERROR_TYPE, 7);

  // Without the message file there are only the strings; the spooler brings it, and mends it.
  EXPECT_EQ(AskEvents()[0]["text"], "shown\r\nbelow\x1b\u009b1m\r\n\r\nsecond");
  const std::string system = home.File("drive_c/Windows/System32/");
  std::filesystem::create_directories(system);
  WriteBytes(system + "msgtable.dll", "old");
  ASSERT_TRUE(home.Start()) << home.Errors();
  for (const char* name : {"msgtable.dll", "portwise.ddz"})
    EXPECT_TRUE(ReadFile(system + name) == ReadFile(ProgramFolder() + "/" + name)) << name;
  EXPECT_EQ(home.Stop(), 0);

  const std::string lines = RunProgram("portwise events").output;
  EXPECT_THAT(lines, HasSubstr("  System  Known  warning  0x80FF0500  shown\n    below??1m\n2"));
  EXPECT_THAT(lines, HasSubstr("  Application  Unknown  error  0x00000007  gr\u00FC\u00DFe\n"));
  const Json all = AskEvents();
  ASSERT_EQ(all.size(), 2u) << all;
  EXPECT_THAT(all[0].value("time", ""), testing::MatchesRegex("....-..-..T..:..:..\\....Z"));
  EXPECT_EQ(all[0]["strings"], Json::array({"shown\r\nbelow\x1b\u009b1m\r\n", "second"}));
  EXPECT_TRUE(all[0]["id"] == 0x80FF0500u && all[0]["category"] == 1);
  EXPECT_EQ(AskEvents("--severity error"), Json::array({all[1]}));
  EXPECT_EQ(AskEvents("--source known"), Json::array({all[0]}));
  EXPECT_EQ(AskEvents("--last 1"), Json::array({all[1]}));
  EXPECT_NE(RunProgram("portwise events --severity bad").code, 0);

  FILE* follower = popen(("timeout 20 " + ProgramFolder() + "/portwise events --follow --json --last 1").c_str(), "r");
  char line[4096] = {};
  ASSERT_NE(fgets(line, sizeof line, follower), nullptr);
  EXPECT_EQ(Json::parse(line), all[1]);
  Report(u"Unknown", {u"new"}, EVENTLOG_INFORMATION_TYPE, 8);
  ASSERT_NE(fgets(line, sizeof line, follower), nullptr);
  EXPECT_EQ(Json::parse(line)["text"], "new");
  // It ends when nobody takes what it writes any more.
  std::jthread reporter([](const std::stop_token& stop) {
    for (; !stop.stop_requested(); Sleep(500)) Report(u"Unknown", {u"newer"}, EVENTLOG_INFORMATION_TYPE, 8);
  });
  const int status = pclose(follower);
  reporter = {};
  EXPECT_FALSE(WIFEXITED(status) && WEXITSTATUS(status) == 124) << "it had to be killed";

  WriteBytes(home.File("registry.db"), std::string(9000, 'x'));
  ExpectRun("events", 1, home.File("registry.db"));
}

}  // namespace
}  // namespace portwise::test
