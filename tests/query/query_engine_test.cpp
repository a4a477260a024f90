#include "query/query_engine.h"

#include <gmock/gmock.h>

#include <thread>

#include "platform/test_clock.h"
#include "query/query_exchange.h"
#include "query/ticks.h"
#include "tests/query/fake_printer_host.h"

namespace portwise {
namespace {

using std::string_literals::operator""s;
using testing::ElementsAre;
using testing::HasSubstr;

PluginVerdict UntilEtx(const std::string& data) {
  if (data.find('!') != data.npos) return PluginVerdict::Failed;
  return data.back() == '\x03' ? PluginVerdict::Complete : PluginVerdict::Incomplete;
}

class QueryEngineTest : public testing::Test {
 protected:
  QueryEngineTest() {
    platform::SetTimeScale(10);
    platform::SetTickCount(0u - 1500u);  // the ticks wrap while the engine waits
  }
  ~QueryEngineTest() override { platform::SetTimeScale(1); }

  QueryRequest& Add(const std::string& id, const std::string& parameters = "", const std::string& command = "ask") {
    auto request = std::make_unique<QueryRequest>();
    request->queryId = "Q";
    request->id = id;
    request->parameters = parameters;
    request->command = command;
    QueryRequest& added = *request;
    list.Add(std::move(request));
    return added;
  }
  DWORD StatusOf(const std::string& id) { return static_cast<DWORD>(list.FindCopy("*", id)->status); }
  void Queue(std::initializer_list<std::string> commands) {
    for (const std::string& command : commands) queue.Add(command, command);
    EXPECT_TRUE(queue.BeginQueries());
  }
  long Count(const std::string& event) { return std::count(host.events.begin(), host.events.end(), event); }

  FakePrinterHost host;
  RequestList list;
  QueryQueue queue;
  QueryEngine engine{host, list, queue};
};

TEST_F(QueryEngineTest, DecidesWhenAnAnswerIsComplete) {
  host.responseTimeout = 8000;
  decltype(host.connection.pieces) drip;
  for (int i = 0; i < 20; ++i) drip.push_back({500, "x"});
  const struct {
    const char *name, *pattern, *parameters;
    std::function<PluginVerdict(const std::string&)> verdict;
    decltype(drip) pieces;
    DWORD status;
    std::string response;
  } rows[] = {
      {"no verdict", "", "", nullptr, {{200, "A"}, {0, "B"}, {100, "late"}}, 2, "AB"},
      {"unknown verdict", "", "", [](auto&) { return PluginVerdict(7); }, {{0, "A"}, {100, "late"}}, 2, "A"},
      {"verdicts", "", "", UntilEtx, {{0, "A"}, {500, "B"}, {500, "C\x03"}}, 2, "ABC\x03"},
      {"bad", "", "", UntilEtx, {{0, "A"}, {100, "!"}}, 4, ""},
      {"silence", "", "", UntilEtx, {{0, "A"}}, 4, ""},
      {"drip", "", "", UntilEtx, drip, 4, ""},
      {"pattern over pauses", "O+K", "", nullptr, {{0, "O"}, {500, "O"}, {500, "K\0z"s}}, 2, "OOK\0z"s},
      {"unsolicited", "OK", "write=false;", nullptr, {{900, "x"}, {900, "OK"}}, 2, "xOK"},
      {"not read", "", "x;read=false;y", nullptr, {{0, "A"}}, 2, ""},
  };
  for (const auto& row : rows) {
    host.events.clear();
    host.connection.pieces = row.pieces;
    host.verdict = row.verdict;
    Add(row.name, row.parameters).responsePattern = row.pattern;
    const DWORD begin = GetTickCount();
    engine.RunRequests();
    EXPECT_EQ(StatusOf(row.name), row.status) << row.name;
    EXPECT_EQ(list.FindCopy("Q", row.name)->response, row.response) << row.name;
    EXPECT_EQ(GetTickCount() - begin >= 8000, row.status == 4 && row.name != "bad"s) << row.name;
    EXPECT_EQ(Count("W:ask"), row.name == "unsolicited"s ? 0 : 1) << row.name;
    EXPECT_EQ(host.events.back(), "-") << row.name;
  }
}

TEST_F(QueryEngineTest, TellsThePlugInsInOrder) {
  host.connection.pieces = {{100, "A"}};
  Add("a", "p=1;").receiveIntervalTimeout = 1001;
  engine.RunRequests();
  EXPECT_THAT(host.events, ElementsAre("+ask|p=1;", "m23", "W:ask", "m25", "m31", "m24", "-"));
  const COMMTIMEOUTS expected = {500, 1, 500, 2, 3};
  EXPECT_EQ(std::memcmp(&host.connection.timeouts, &expected, sizeof expected), 0);

  // Half of the command is taken at a time, and the answer is longer than a read.
  host.events.clear();
  host.protocolActive = true;
  host.connection.pieces = {{0, std::string(4096, 'x')}, {100, "y"}};
  Add("b");
  engine.RunRequests();
  EXPECT_THAT(host.events, ElementsAre("+ask|", "p16", "P:ask", "P:ask", "P:ask", "P:ask", "p18", "p17", "-"));
  EXPECT_EQ(list.FindCopy("Q", "b")->response.size(), 4097u);

  host.events.clear();
  host.connection.pieces = {{100, "z"}};
  queue.Add("c", "");
  ASSERT_TRUE(queue.BeginQueries());
  engine.RunQueryQueue();
  EXPECT_THAT(host.events,
              ElementsAre("+c|none", "m23", "p16", "P:c", "open", "P:c", "P:c", "p18", "m31", "p17", "m24", "-"));

  host.events.clear();
  host.connection.connected = false;
  EXPECT_FALSE(QueryExchange(host, "status", nullptr).Send(kSendStatusRequest));
  host.connection.connected = true;
  EXPECT_TRUE(QueryExchange(host, "status", nullptr).Send(kSendStatusRequest));
  EXPECT_THAT(host.events, ElementsAre("+status|none", "-", "+status|none", "W:status", "-"));
}

TEST_F(QueryEngineTest, SendsEveryByteOnceOrGivesUp) {
  host.sendTimeout = 60000;
  const struct {
    DWORD error, taken;  // by every second write, from the first on, which fails
    std::string received;
  } rows[] = {{10035, 1, "abc\0efghij"s}, {10054, 0, "ab"}};
  for (const auto& row : rows) {
    std::string received;
    host.connection.onWrite = [&, call = 0](const std::string& bytes, DWORD* written) mutable {
      const bool fails = ++call % 2 != 0;
      *written = static_cast<DWORD>(std::min<size_t>(bytes.size(), fails ? row.taken : 2));
      received += bytes.substr(0, *written);
      SetLastError(row.error);
      return !fails;
    };
    Add("a", "read=false;", "abc\0efghij"s);
    engine.RunRequests();
    EXPECT_EQ(received, row.received) << row.error;
  }
  for (const bool success : {false, true}) {
    host.connection.onWrite = [&](const std::string&, DWORD*) { return success; };
    Add("b").sendTimeout = 500;
    const DWORD begin = GetTickCount();
    engine.RunRequests();
    EXPECT_EQ(StatusOf("b"), 4u);
    EXPECT_LT(GetTickCount() - begin, 50000u) << "its own send timeout";
  }
  EXPECT_EQ(Count("m25"), 1);
}

TEST_F(QueryEngineTest, ACancelEndsTheWaitAndTheRunOnly) {
  host.responseTimeout = 60000;
  Add("a");
  Add("b");
  Add("other").queryId = "R";
  std::thread client([this] {
    while (StatusOf("a") == 0) Sleep(20);
    list.Cancel("Q");
  });
  const DWORD begin = GetTickCount();
  engine.RunRequests();
  client.join();
  EXPECT_LT(GetTickCount() - begin, 50000u);
  EXPECT_TRUE(StatusOf("a") == 3 && StatusOf("b") == 3 && StatusOf("other") == 0);
  host.connection.pieces = {{0, "A"}};
  engine.RunRequests();
  EXPECT_EQ(StatusOf("other"), 2u) << "the cancel held for one run";
}

TEST_F(QueryEngineTest, AThousandRequestsRunInOrderAndFailTogether) {
  for (int i = 0; i < 1000; ++i) Add(std::to_string(i), i < 500 ? "read=false;" : "", std::to_string(i));
  host.verdict = UntilEtx;
  host.connection.pieces = {{0, "!"}};
  engine.RunRequests();
  Events sent, expected;
  std::copy_if(host.events.begin(), host.events.end(), std::back_inserter(sent), [](auto& e) { return e[0] == 'W'; });
  for (int i = 0; i <= 500; ++i) expected.push_back("W:" + std::to_string(i));
  EXPECT_EQ(sent, expected);
  EXPECT_TRUE(StatusOf("499") == 2 && StatusOf("500") == 4 && StatusOf("999") == 4);
  list.Cancel("*");
  list.Retry("Q");
  EXPECT_TRUE(StatusOf("499") == 2 && StatusOf("500") == 0 && StatusOf("999") == 0);
}

TEST_F(QueryEngineTest, RepeatsAndExpiresByTheClock) {
  Add("repeated", "read=false;").repeatInterval = 60000;
  engine.RunRequests();
  engine.RunRequests();
  EXPECT_EQ(StatusOf("repeated"), 0u);
  EXPECT_NEAR(*list.TimeUntilDue(), 60000, 5000);
  EXPECT_EQ(Count("W:ask"), 1);
  platform::SetTickCount(GetTickCount() + 60000);
  engine.RunRequests();
  EXPECT_EQ(Count("W:ask"), 2);

  Add("rare", "read=false;").repeatInterval = 0x7FFFFFFF;
  host.connection.onWrite = [&, call = 0](const std::string& bytes, DWORD* written) mutable {
    Sleep(50);
    EXPECT_EQ(++call, 1) << "once in a run";
    if (call > 1) list.Cancel("*");
    *written = static_cast<DWORD>(bytes.size());
    return true;
  };
  engine.RunRequests();
  host.connection.onWrite = nullptr;

  host.responseTimeout = 15000;
  host.connection.pieces = {{6000, "A"}};
  Add("expiring").expirationTime = TickAfter(5000);
  engine.RunRequests();
  EXPECT_EQ(list.FindCopy("Q", "expiring")->response, "A") << "what runs is not taken away";
  engine.RunRequests();
  EXPECT_FALSE(list.FindCopy("Q", "expiring").has_value());
}

TEST_F(QueryEngineTest, TimesSurviveTheWrapOfTheTicks) {
  platform::SetTimeScale(1);
  for (const DWORD start : {0xFFFFFF00u, 0x7FFFFF00u, 0u - 5000u}) {
    platform::SetTickCount(start);
    EXPECT_FALSE(list.TimeUntilDue().has_value());
    Add("delayed").startTime = TickAfter(5000);
    QueryRequest& expiring = Add("expiring");
    expiring.startTime = TickAfter(0x7FFFFFFF);
    expiring.expirationTime = TickAfter(4000);
    engine.RunRequests();
    EXPECT_NEAR(*list.TimeUntilDue(), 5000, 500);
    EXPECT_TRUE(host.events.empty() && list.AnyPending() && !list.AnyDue());
    platform::SetTickCount(start + 5001);
    list.Purge();
    EXPECT_EQ(list.ListIds("*"), std::vector<std::string>{"delayed"});
    EXPECT_TRUE(list.AnyDue());
    list.Cancel("*");
    for (const DWORD kept : {599000u, 602000u}) {
      platform::SetTickCount(start + 5001 + kept);
      list.Purge();
      EXPECT_EQ(list.ListIds("*").empty(), kept > 600000);
    }
  }
}

TEST_F(QueryEngineTest, AnIdUsedAgainShowsTheLatestOutcome) {
  for (const char* answer : {"first", "second"}) {
    host.connection.pieces = {{0, answer}};
    Add("a");
    Add("a").startTime = TickAfter(100000);
    engine.RunRequests();
    EXPECT_EQ(list.FindCopy("Q", "a")->response, answer);
  }
  EXPECT_TRUE(list.FindCopy("Q", "#2")->IsPending()) << "it still has to run";
  EXPECT_TRUE(list.FindCopy("Q", "#3")->IsFinished()) << "nothing stays active";
}

TEST_F(QueryEngineTest, WarnsOnceOfAPatternThatNeverMatches) {
  for (const char* pattern : {"(", "(a+)+$", "("}) {
    host.connection.pieces = {{0, std::string(60, 'a') + "b"}};
    Add("a").responsePattern = pattern;
    engine.RunRequests();
    EXPECT_EQ(StatusOf("a"), 4u);
  }
  EXPECT_THAT(host.warnings, ElementsAre(HasSubstr("\"(\" of the query request \"a\" never matches: missing"),
                                         HasSubstr("limit exceeded")));
}

TEST_F(QueryEngineTest, AFaultOfThePlugInLeavesNothingRunning) {
  host.verdict = [](auto&) -> PluginVerdict { throw 1; };
  host.connection.pieces = {{0, "A"}, {0, "A"}};
  Add("a");
  EXPECT_THROW(engine.RunRequests(), int);
  EXPECT_EQ(StatusOf("a"), 4u);
  list.Cancel("*");
  EXPECT_FALSE(list.IsStopping());
  Queue({"x"});
  EXPECT_THROW(engine.RunQueryQueue(), int);
  EXPECT_FALSE(queue.IsQuerying());
  EXPECT_EQ(host.events.back(), "-");
}

TEST_F(QueryEngineTest, RunsTheQueueOnce) {
  EXPECT_FALSE(queue.BeginQueries());
  Queue({"one\0x"s, "two"});
  host.connection.connected = false;
  engine.RunQueryQueue();
  host.connection.connected = true;
  host.connection.pieces = {{100, "A"}, {50, "B"}};
  engine.RunQueryQueue();
  EXPECT_THAT(host.events, ElementsAre("offline", "+one\0\0|none"s, "m23", "W:one\0\0"s, "m31", "m24", "-"));
  const QueryProgress half = queue.Progress();
  EXPECT_TRUE(half.current == 1 && half.complete == 1 && half.runStatus == -1 && half.displayStatus == "Querying");
  EXPECT_FALSE(queue.BeginQueries());
  engine.RunQueryQueue();
  const QueryProgress end = queue.Progress();
  EXPECT_TRUE(end.current == 1 && end.complete == 2 && end.runStatus == 2 && end.total == 2);
  EXPECT_TRUE(end.bytesWritten == 8 && end.bytesRead == 2);
  EXPECT_EQ(*queue.ResponseAt(0) + *queue.ResponseOf("two"), "AB");
  EXPECT_FALSE(queue.IsQuerying() || queue.BeginQueries());
}

TEST_F(QueryEngineTest, ARunEndsWithABadAnswerACancelOrAReset) {
  host.verdict = UntilEtx;
  host.responseTimeout = 60000;
  for (const std::string how : {"bad", "cancel", "reset"}) {
    queue.Reset();
    Queue({"one", "two"});
    host.connection.pieces = {{0, "A"}, {how == "bad" ? 0u : 9000u, "!"}};
    std::thread client([&] {
      while (queue.Progress().bytesRead == 0) Sleep(20);
      if (how == "cancel") queue.Cancel();
      if (how != "reset") return;
      queue.Reset();
      Queue({"new"});
    });
    engine.RunQueryQueue();
    client.join();
    const QueryProgress progress = queue.Progress();
    EXPECT_EQ(progress.runStatus, how == "bad" ? 2 : how == "cancel" ? 3 : -1) << how;
    EXPECT_EQ(progress.complete, how == "bad" ? 1 : 0) << how;
    EXPECT_EQ(*queue.ResponseAt(0), how == "bad" ? "A!" : "") << how;
    EXPECT_EQ(host.connection.pieces.empty(), how == "bad") << "nothing is read after the end";
    if (how != "reset") engine.RunQueryQueue();
    EXPECT_EQ(queue.IsQuerying(), how == "reset");
    EXPECT_EQ(Count("W:two"), 0);
  }
}

TEST_F(QueryEngineTest, ABrokenTcpConnectionIsOpenedAndTheQuerySentAnew) {
  host.sendTimeout = 20000;
  std::string received;
  int call = 0;
  host.connection.onWrite = [&](const std::string& bytes, DWORD* written) {
    ++call;
    SetLastError(call == 3 ? 10035 : 10054);
    if (call == 2 || call == 3 || call > 5) return false;
    *written = call == 5 ? 3 : 2;
    received += bytes.substr(0, *written) + "|";
    return true;
  };
  host.connection.pieces = {{0, "A"}};
  Queue({"query"});
  engine.RunQueryQueue();
  EXPECT_EQ(received, "qu|qu|ery|") << "anew over the new connection, not when it was only full";
  EXPECT_EQ(Count("open"), 1);
  EXPECT_EQ(queue.Progress().bytesWritten, 5u);

  host.sendTimeout = 2000;
  queue.Reset();
  Queue({"query"});
  engine.RunQueryQueue();
  EXPECT_FALSE(queue.IsQuerying() || queue.BeginQueries());
  EXPECT_EQ(queue.Progress().runStatus, 2);
  EXPECT_LT(Count("open"), 40);
}

}  // namespace
}  // namespace portwise
