#include <gtest/gtest.h>
#include <winspool.h>

#include "tests/support/print_ostring.h"
#include "tests/ui/window_fixture.h"
#include "ui/entry_points.h"

namespace portwise {
namespace {

using platform::Action;
using platform::Do;
using namespace std::string_literals;

enum Control { kStatus = 1009, kSent = 1010, kReceived = 1011, kProgress = 1012, kCancel = 1013, kName = 1015 };

class QueryDialogTest : public WindowTest {
 protected:
  QueryDialogTest() { spooler_.jobStatus = JOB_STATUS_PRINTING; }
  ~QueryDialogTest() override {
    for (const auto& window : platform::OwnWindows().windows) PostMessageW(window.handle, WM_CLOSE, 0, 0);
    if (dialog_.joinable()) Result();
  }

  /// Runs the dialog on a thread of its own, up to its first poll.
  HWND Open(const std::u16string& commandLine = u"open P -ji 7") {
    dialog_ = std::thread([this, line = commandLine] { result_ = Query(nullptr, line.c_str()); });
    EXPECT_TRUE(Eventually([] { return !platform::OwnWindows().windows.empty(); }));
    return platform::OwnWindows().windows.at(0).handle;
  }
  int Result() {
    dialog_.join();
    return result_;
  }
  void SetProgress(const std::string& progress, const std::string& details) {
    monitor_.SetReplies({{"'Status'", "Ready"},
                         {"'total'", "3\0"s},
                         {"'complete'", progress + '\0'},
                         {"'display status'", details + '\0'}});
  }

  std::thread dialog_;
  int result_ = -1;
};

TEST_F(QueryDialogTest, EndsWhenAllQueriesAreComplete) {
  const HWND window = Open();
  EXPECT_TRUE(ShowsText(window, kName, "Waiting on print job."));
  EXPECT_EQ(View(window).text, "Query P");
  EXPECT_EQ(TextOf(window, kSent) + TextOf(window, kReceived), "00");
  EXPECT_EQ(View(window).Control(kProgress)->high, 100);
  SetProgress("1;1", "Serial number;Sending;12;345");
  EXPECT_TRUE(ShowsText(window, kReceived, "12"));
  EXPECT_EQ(TextOf(window, kName) + "|" + TextOf(window, kStatus) + "|" + TextOf(window, kSent),
            "Serial number|Sending|345");
  EXPECT_TRUE(View(window).Control(kProgress)->high == 3 && View(window).Control(kProgress)->position == 1);
  ASSERT_FALSE(spooler_.changes.empty());
  EXPECT_EQ(spooler_.changes[0].value("priority", 0), 99);
  SetProgress("2;3", "");
  EXPECT_EQ(Result(), 1);
  EXPECT_TRUE(spooler_.jobCommands.empty());
}

TEST_F(QueryDialogTest, IsCancelledByTheUser) {
  for (const bool button : {true, false}) {
    const HWND window = Open();
    EXPECT_EQ(TextOf(window, kCancel), "Cancel");
    // The wish comes in the middle of a poll, whose end it waits for.
    SetProgress("0;0", "");
    monitor_.SetWhileAsked([&] {
      SendMessageW(window, button ? WM_COMMAND : WM_CLOSE, button ? kCancel : 0, 0);
      EXPECT_TRUE(spooler_.jobCommands.empty());
    });
    EXPECT_EQ(Result(), 2);
    monitor_.SetWhileAsked(nullptr);
    EXPECT_EQ(monitor_.TakeAsked().back(), "P: <query action='cancel' />");
    EXPECT_EQ(std::exchange(spooler_.jobCommands, {}), (std::vector{std::pair(7u, 5u)}));
    EXPECT_FALSE(IsWindow(window));
  }
}

TEST_F(QueryDialogTest, EndsWithTheJob) {
  const HWND window = Open();
  EXPECT_TRUE(IsWindow(window));
  spooler_.jobStatus = JOB_STATUS_DELETING | JOB_STATUS_PRINTING;
  EXPECT_EQ(Result(), 2);
  EXPECT_TRUE(WasAsked("P: <xpml><query action='cancel' />;</xpml>"));
  EXPECT_TRUE(spooler_.jobCommands.empty());
  // Not shown at all.
  EXPECT_EQ(Query(nullptr, u"open P -ji 7"), 2);
  spooler_.jobStatus = JOB_STATUS_PRINTING;
  for (const char16_t* line : {u"", u"show P -ji 7", u"open \"\" -ji 7"}) EXPECT_EQ(Query(nullptr, line), 0);
  EXPECT_EQ(Query(nullptr, nullptr), 0);
  spooler_.noJob = 7;
  EXPECT_EQ(Query(nullptr, u"open P -ji 7"), 2);
  EXPECT_EQ(Query(nullptr, u"open Q -ji 8"), 2);
}

TEST_F(QueryDialogTest, SpeaksTheUsersLanguage) {
  monitor_.SetReplies({{"language='deu'", "Ausgeschaltet"}});
  // The title, what it says and its button; all the rest must fit as well.
  const char* const rows[][4] = {{"deu", "Abfrage P", "Ausgeschaltet", "Abbrechen"},
                                 {"jpn", "クエリ P", "印刷ジョブを待っています。", "キャンセル"}};
  for (const auto& [language, title, name, cancel] : rows) {
    Registry().SetString("UserSettings:Language", language);
    const HWND window = Open();
    EXPECT_TRUE(ShowsText(window, kName, name));
    EXPECT_EQ(View(window).text + TextOf(window, kCancel), std::string(title) + cancel);
    for (const auto& child : View(window).children) EXPECT_TRUE(Fits(window, child)) << child.text;
    EXPECT_TRUE(Eventually([&] { return Do(Action::Press, window, kCancel); }));
    EXPECT_EQ(Result(), 2);
  }
}

}  // namespace
}  // namespace portwise
