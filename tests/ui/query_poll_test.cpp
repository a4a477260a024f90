#include "ui/query_poll.h"

#include <gtest/gtest.h>
#include <windows.h>
#include <winspool.h>

#include "locale/pm_locale.h"
#include "tests/locale/locale_fixture.h"
#include "tests/support/fake_spooler.h"
#include "tests/support/print_ostring.h"
#include "tests/ui/fake_requests.h"

namespace portwise {
namespace {

using namespace std::string_literals;

/// The poll of job 7, in English.
class QueryPollTest : public LocaleTest {
 protected:
  QueryPollTest() { spooler_.printers["P"].port = "LPT1:"; }

  /// Looks once, with these replies to the status, the total, the progress and the details.
  void Look(std::optional<std::string> status, std::optional<std::string> total = {},
            std::optional<std::string> progress = {}, std::optional<std::string> details = {}) {
    monitor_.SetReplies(
        {{"'Status'", status}, {"'total'", total}, {"'complete'", progress}, {"'display status'", details}});
    monitor_.TakeAsked();
    poll_.Look();
    asked_ = monitor_.TakeAsked();
  }
  /// The last thing that was asked, by its first command.
  std::string Last() const { return asked_.empty() ? "" : asked_.back().substr(0, asked_.back().find("/>")); }

  FakeSpooler spooler_;
  FakeRequests monitor_;
  std::vector<std::string> asked_;  // by the last look
  pmLocale locale_{"enu"};
  QueryPoll poll_{PrintJob("P", 7), locale_};
};

TEST_F(QueryPollTest, WaitsForThePrinterAndForTheJob) {
  const QueryView waiting = poll_.View();
  EXPECT_EQ(waiting.name, "Waiting on print job.");
  for (const auto& status : {std::optional<std::string>(), std::optional(""s), std::optional("\0"s)}) {
    Look(status, "3\0"s);
    EXPECT_EQ(poll_.View(), waiting);
    EXPECT_EQ(asked_.size(), 1u);
  }
  // A job that is spooled and not printed yet, and one that nobody knows.
  spooler_.jobStatus = JOB_STATUS_SPOOLING;
  for (const unsigned unknown : {0u, 7u}) {
    spooler_.noJob = unknown;
    Look("Ready", "3\0"s);
    EXPECT_EQ(asked_.size(), 1u);
  }
  for (const char* obstacle : {"Offline", "Power Off"}) {
    Look(obstacle + "\0"s, "3\0"s);
    EXPECT_TRUE(poll_.View().name == obstacle && poll_.View().status == obstacle);
  }
  spooler_.noJob = 0;
  spooler_.jobStatus = JOB_STATUS_PRINTED;
  Look("offline", "3\0"s, "1;1\0"s);
  EXPECT_EQ(poll_.View().total, 3) << "only those very words keep the poll waiting";
  // Once seen, the job is not looked at again.
  spooler_.jobStatus = 0;
  Look("Ready", {}, "1;2\0"s);
  EXPECT_EQ(poll_.View().complete, 2);
}

TEST_F(QueryPollTest, FollowsTheQueriesAsFarAsRepliesAreWhole) {
  spooler_.jobStatus = JOB_STATUS_PRINTING;
  Look("Ready", "3");
  EXPECT_EQ(Last(), "P: <query value='total' action='get' ") << "no NUL at the end: asked again";
  EXPECT_EQ(poll_.View().total, 0);
  Look("Ready", "0\0"s, "0;0\0"s);
  EXPECT_EQ(poll_.View().total, 0) << "the queries are still to come";
  EXPECT_FALSE(poll_.IsComplete());
  Look("Ready", "3\0"s, "1;0");
  EXPECT_EQ(poll_.View().total, 3);
  EXPECT_EQ(asked_.size(), 3u) << "progress without its end: nothing more is asked";
  const std::string details = "Serial;Waiting;70;1234567890123\0"s;
  Look("Ready", {}, "2;1;\0"s, details);
  EXPECT_EQ(Last(), "P: <query value='name' index='0' action='get' ") << "three fields say nothing";
  EXPECT_EQ(poll_.View().complete, 0);
  const QueryView shown = poll_.View();
  EXPECT_TRUE(shown.name == "Serial" && shown.status == "Waiting" && shown.bytesReceived == 70 &&
              shown.bytesSent == 1234567890123);
  for (const std::string& wrong : {""s, "a;b;1;2"s, "a;b;1\0"s, "a;b;1;2;3\0"s, "a;b;1;2\0\0more"s}) {
    Look("Ready", {}, "2;0\0"s, wrong);
    EXPECT_EQ(poll_.View(), shown) << wrong;
  }
  EXPECT_EQ(Last(), "P: <query value='name' index='2' action='get' ");
  Look("Ready", {}, "2;3\0"s, "late;late;1;1\0"s);
  EXPECT_TRUE(poll_.IsComplete());
  EXPECT_EQ(asked_.size(), 2u) << "complete: nobody asks how the last one is doing";
  EXPECT_EQ(poll_.View().name, "Serial");
}

}  // namespace
}  // namespace portwise
