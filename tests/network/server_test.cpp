#include <gmock/gmock.h>
#include <ctime>
#include <functional>
#include <thread>

#include "core/exception.h"
#include "network/web_server_http.h"
#include "platform/eventlog/event_reader.h"
#include "tests/support/faults.h"
#include "tests/support/holdings.h"
#include "tests/support/monitor_fixture.h"
#include "tests/support/network_settings.h"
#include "tests/support/web_client.h"
#include "xpml/request.h"

#ifndef _WIN32
#include <sys/resource.h>
#endif

namespace portwise {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr std::string_view kTick = "GET /tickcount HTTP/1.1\r\n\r\n";
constexpr std::string_view kLarge = "GET /large HTTP/1.1\r\n\r\n";
constexpr std::size_t kLargeSize = 5000000;
constexpr char kUnavailable[] = "HTTP/1.1 503 Service Unavailable\r\n";

bool AnswerLarge(std::string_view request, std::string* response, bool*) {
  if (request == kLarge) response->assign(kLargeSize, 'x');
  return !response->empty();
}

/// How many files the process may have open, for a scope. Windows has no such limit.
class OpenFileLimit {
#ifdef _WIN32
 public:
  explicit OpenFileLimit(unsigned long) {}
#else
 public:
  explicit OpenFileLimit(rlim_t count) {
    getrlimit(RLIMIT_NOFILE, &before_);
    const rlimit wanted{std::min(before_.rlim_max, count), before_.rlim_max};
    setrlimit(RLIMIT_NOFILE, &wanted);
  }
  ~OpenFileLimit() { setrlimit(RLIMIT_NOFILE, &before_); }

 private:
  rlimit before_;
#endif
};

/// The server with resources of the test's own: what `onRequest` says for their URI.
class TestServer final : public WebServerHTTP {
 public:
  bool HandleRequest(RequestBuffer& request, ServerResponse* response, bool* keep) override {
    std::string own;
    if (!onRequest || !onRequest(request.Bytes(), &own, keep)) {
      return WebServerHTTP::HandleRequest(request, response, keep);
    }
    if (!response->body.Append(own)) MakeRefusal(503, &response->head);
    return !own.empty();
  }
  std::function<bool(std::string_view, std::string*, bool*)> onRequest;
};

class Server : public MonitorFixture {
 protected:
  Server() { EXPECT_TRUE(server_.Run(port_, 0, INADDR_LOOPBACK) && server_.IsRunning()); }
  ~Server() override {
    server_.Shutdown();
    EXPECT_FALSE(server_.IsRunning());
    EXPECT_EQ(server_.Threads().ThreadCount() + server_.Clients().Size(), 0);
    EXPECT_EQ(server_.Budget().Taken(), 0u);
  }

  std::string Ask(std::string_view request) { return WebClient(port_).Send(request).Read(); }
  /// Answers others at once, whatever a client does.
  void ExpectAnswers() { EXPECT_THAT(Ask(kTick), StartsWith("HTTP/1.1 200 OK\r\n")); }
  void AwaitClients(int count) {
    for (int i = 0; i < 1000 && server_.Clients().Size() != count; ++i) Sleep(10);
    EXPECT_EQ(server_.Clients().Size(), count);
  }

  const unsigned port_ = test::FreePort();
  TestServer server_;
};

TEST_F(Server, AnswersOneRequestOfAConnectionWhateverItIs) {
  const std::string binary("\xff\x00\x01\r\n", 5);
  const std::string many = [] {
    std::string headers;
    for (int i = 0; i < 4000; ++i) headers += "X-" + std::to_string(i) + ":\r\n";
    return headers;
  }();
  const struct {
    std::string request;
    std::string answer;  // how it begins behind "HTTP/1.1 "
  } table[] = {
      {"BREW /tickcount TEA/9.9\r\n\r\n", "200 OK\r\n"},
      {"GET /tickcount HTTP/1.1\n\n", "200 OK\r\n"},
      {"/\r\n\r\n", "200 OK\r\n"},
      {"GET /% HTTP/1.1\r\n\r\n", "200 OK\r\n"},
      {"GET /xpml?printer=%&xpml=%4 HTTP/1.1\r\n\r\n", "400 Bad Request\r\n"},
      {"GET /tickcount HTTP/1.1\r\n" + many + "\r\n", "200 OK\r\n"},
      {"POST /tickcount HTTP/1.1\r\nContent-Length: 5\r\n\r\n" + binary, "200 OK\r\n"},
      {"POST /tickcount HTTP/1.1\r\nContent-Length: -1\r\n\r\n", "200 OK\r\n"},
      {"POST /tickcount HTTP/1.1\r\nContent-Length: x\r\n\r\nmore than announced", "200 OK\r\n"},
      {"POST /tickcount HTTP/1.1\r\nContent-Length: 67108864\r\n\r\n", "413 Request Entity Too Large\r\n"},
      {"POST /tickcount HTTP/1.1\r\nContent-Length: 18446744073709551617\r\n\r\n", "413 "},
      {"GET /" + std::string(65536, 'a'), "413 "},
      {std::string(3000000, 'a'), "413 "},
      {"GET /tickcount HTTP/1.1\r\nX: " + std::string(3000000, 'a') + "\r\n\r\n", "413 "},
  };
  for (const auto& row : table) {
    const std::string answer = Ask(row.request);
    EXPECT_THAT(answer,
                AllOf(StartsWith("HTTP/1.1 " + row.answer), Not(EndsWith(" (reset)")), Not(EndsWith(" (open)"))))
        << row.request.substr(0, 100);
  }
  const std::string both = Ask(std::string(kTick) + "GET /second HTTP/1.1\r\n\r\n");
  EXPECT_THAT(both, AllOf(StartsWith("HTTP/1.1 200"), Not(HasSubstr("second")))) << "only the first of a pipeline";
  EXPECT_EQ(BodyOf(Ask(std::string("GET /Tickcount HTTP/1.1\r\n\r\na\0b", 30))), "GET /Tickcount HTTP/1.1\r\n\r\na");
}

TEST_F(Server, WaitsForTheRestOfARequest) {
  const std::string post = "POST /x HTTP/1.1\r\nContent-Length: 4\r\n\r\nbody";
  for (std::size_t cut = 1; cut < post.size(); ++cut) {
    WebClient client(port_);
    client.Send(post.substr(0, cut));
    AwaitClients(1);
    EXPECT_EQ(BodyOf(client.Send(post.substr(cut)).Read()), post) << cut;
  }
  {
    WebClient slow(port_);
    for (const char byte : post) slow.Send({&byte, 1}), Sleep(1);
    EXPECT_EQ(BodyOf(slow.Read()), post);
  }
  // The end of the client's side ends it, unless the request is whole.
  EXPECT_EQ(WebClient(port_).Send(post.substr(0, 30)).EndSending().Read(), "");
  EXPECT_EQ(BodyOf(WebClient(port_).Send(post).EndSending().Read()), post);
  // The body of a large one arrives in many pieces, and is linear in them.
  std::string large = "POST /x HTTP/1.1\r\nContent-Length: 60000000\r\n\r\n" + std::string(60000000, 'x');
  WebClient client(port_);
  std::string answer;
  std::thread reader([&] { answer = client.Read(); });
  client.Send(large);
  reader.join();
  EXPECT_TRUE(BodyOf(answer) == large) << answer.size();
  EXPECT_EQ(server_.Statistics().AddressCount(), 1u);
  EXPECT_GT(server_.Statistics().KilobytesReceived(), 60000000 / 1024);
  EXPECT_GT(server_.Statistics().KilobytesSent(), 60000000 / 1024);
}

TEST_F(Server, AClientThatDoesNotReadDelaysNobody) {
  const std::string request = "GET /large HTTP/1.1\r\n\r\n";
  std::string large(5000000, 'x');
  for (std::size_t i = 0; i < large.size(); i += 97) large[i] = static_cast<char>('a' + i % 26);
  server_.onRequest = [&](std::string_view bytes, std::string* response, bool*) {
    if (bytes.starts_with(request)) *response = large;
    return bytes.starts_with(request);
  };
  WebClient reader(port_, 4096), deaf(port_, 4096), gone(port_, 4096), late(port_, 4096);
  for (WebClient* client : {&reader, &deaf, &gone}) client->Send(request);
  late.Send(request).Send("more than was asked for");
  Sleep(100);
  EXPECT_EQ(server_.Clients().Size(), 4);
  gone.Reset();
  ExpectAnswers();
  EXPECT_TRUE(reader.Read() == large);
  EXPECT_TRUE(late.Read() == large) << "whatever else the client has sent";
  AwaitClients(1);
  platform::SetTimeScale(1);
  WebClient last(port_, 65536);
  last.Send(request);
  AwaitClients(2);
  std::string answer;
  std::thread reading([&] {
    Sleep(300);
    answer = last.Read();
  });
  Sleep(150);
  const DWORD begin = GetTickCount();
  EXPECT_TRUE(server_.Shutdown());
  EXPECT_LT(GetTickCount() - begin, 4000u) << "nobody waits for the deaf one to the end";
  reading.join();
  EXPECT_TRUE(answer == large) << "a client that reads has time to, " << answer.size();
  EXPECT_FALSE(server_.Shutdown()) << "it does not run";
  platform::SetTimeScale(20);
  EXPECT_TRUE(server_.Run(port_, 2000, INADDR_LOOPBACK)) << "at once at the same port";
  EXPECT_FALSE(server_.Run(port_, 0, INADDR_LOOPBACK)) << "it runs already";
  EXPECT_EQ(WebClient(port_).Read(2000), "") << "has sent nothing for the idle timeout";
}

TEST_F(Server, OneOfTooManyGivesWayToTheNextAndAllLeaveNothingBehind) {
  const OpenFileLimit enough(16384);
  ExpectAnswers();
  server_.Threads().Close(5000);
  server_.Threads().Open();
  const Holdings before;
  {
    std::vector<WebClient> clients;
    for (int i = 0; i < 2000; ++i) {
      clients.emplace_back(port_);
      clients.back().Send("G");
    }
    ExpectAnswers();
    AwaitClients(ClientList::kMaxClients - 1);
    Sleep(200);  // a connection ends after it has left the list
    int closed = 0;
    for (WebClient& client : clients) closed += client.Waits(0);
    EXPECT_EQ(closed, 2000 - ClientList::kMaxClients + 1);
    EXPECT_TRUE(clients[0].Waits(0));
    EXPECT_FALSE(clients[1999].Waits(0));
    EXPECT_EQ(BodyOf(clients[1999].Send("ET /x\r\n\r\n").Read()), "GET /x\r\n\r\n");
    clients[1998].Reset();
  }
  AwaitClients(0);
  EXPECT_TRUE(server_.Threads().Close(5000));
  server_.Threads().Open();
  Holdings after;
  for (int i = 0; i < 500 && after.threads > before.threads; ++i) Sleep(10), after = Holdings();
  after.threads = std::max(after.threads, before.threads);  // one may have been about to end then
  // A wait lends its descriptor on.
  EXPECT_NEAR(static_cast<double>(after.files), static_cast<double>(before.files), 8);
  after.files = before.files;
  EXPECT_EQ(after, before);
}

TEST_F(Server, TheMemoryOfThoseThatWaitGoesToTheNext) {
  constexpr std::size_t kLeft = 15500000;
  platform::SetTimeScale(5);
  server_.onRequest = AnswerLarge;
  EXPECT_TRUE(server_.Budget().Take(RequestBudget::kBytes - kLeft));
  std::vector<WebClient> deaf;
  for (int i = 0; i < 4; ++i) {
    deaf.emplace_back(port_, 4096);
    EXPECT_TRUE(deaf.back().Send(kLarge).Waits(5000));
    Sleep(3500);
  }
  AwaitClients(2);
  const std::string half = "POST /x HTTP/1.1\r\nContent-Length: 5000000\r\n\r\n" + std::string(4999999, 'x');
  WebClient silent(port_);
  silent.Send(half.substr(0, half.size() - 100));
  AwaitClients(2);
  for (int i = 0; i < 35; ++i) silent.Send("x"), Sleep(100);  // which is as good as nothing
  EXPECT_TRUE(server_.Budget().Take(1000000));
  EXPECT_TRUE(BodyOf(WebClient(port_).Send(half).Send("x").Read()) == half + "x");
  EXPECT_THAT(silent.Read(), StartsWith(kUnavailable)) << "it has given way";
  AwaitClients(0);
  EXPECT_TRUE(server_.Budget().Take(kLeft - 1000000));
  ExpectAnswers();
  EXPECT_THAT(Ask(half.substr(0, 8000)), StartsWith(kUnavailable));
  server_.Budget().Return(RequestBudget::kBytes);
}

TEST_F(Server, NobodyWhoSendsOrReadsGivesWayToOthers) {
  constexpr std::size_t kLeft = 24000000;
  server_.onRequest = AnswerLarge;
  EXPECT_TRUE(server_.Budget().Take(RequestBudget::kBytes - kLeft));
  const std::string post = "POST /x HTTP/1.1\r\nContent-Length: 3000000\r\n\r\n" + std::string(3000000, 'x');
  std::vector<std::string> answers(12);
  std::vector<std::thread> clients;
  for (std::string& answer : answers) {
    clients.emplace_back([&answer, &post, reads = clients.size() % 2 == 0, this] {
      WebClient client(port_, 65536);
      if (reads) client.Send(kLarge);
      for (std::size_t at = 0; !reads && at < post.size(); at += 100000)
        client.Send(post.substr(at, 100000)), Sleep(20);
      answer = client.Read(10000, 5);
    });
    Sleep(50);
  }
  int refused = 0;
  for (std::size_t i = 0; i < answers.size(); ++i) {
    clients[i].join();
    const bool isRefused = answers[i].starts_with(kUnavailable) && answers[i].size() < 1000;
    const bool isWhole = answers[i].size() == kLargeSize || BodyOf(answers[i]) == post;
    EXPECT_TRUE(isRefused || isWhole) << i << ": " << answers[i].size() << answers[i].substr(0, 20);
    refused += isRefused;
  }
  EXPECT_TRUE(refused > 0 && refused < 11) << refused;
  server_.Budget().Return(RequestBudget::kBytes - kLeft);
}

TEST_F(Server, AReplyTakesNoMoreMemoryThanThereIs) {
  spooler_.printers["Labels"] = {"Out", ""};
  const HANDLE port = Open("Out");
  const auto run = [&](const std::string& commands) {
    const std::string form = "printer=Labels&xpml=" + commands;
    return Ask("POST /xpml HTTP/1.1\r\nContent-Length: " + std::to_string(form.size()) +
               "\r\nContent-Type: application/x-www-form-urlencoded\r\n\r\n" + form);
  };
  const auto get = [](int times) {
    std::string commands;
    for (int i = 0; i < times; ++i) commands += "<get name='LONG'/>";
    return commands;
  };
  run("<set name='LONG'>" + std::string(30000, 'x') + "</set>");  // Windows has no variables of more than 32767
  EXPECT_TRUE(server_.Budget().Take(RequestBudget::kBytes - 3000000));
  EXPECT_EQ(BodyOf(run(get(34))).size(), 1020001u);
  std::string nested;
  for (int i = 0; i < 50000; ++i) nested += "<a>";
  for (const std::string& commands : {get(170), "<a>" + get(170), "<packet>" + get(170) + "</packet>", nested}) {
    EXPECT_THAT(run(commands + "<packet>!</packet>"),
                AllOf(StartsWith("HTTP/1.1 500 "), HasSubstr("\r\nX-Request-Has-Run: yes\r\n")));
    EXPECT_EQ(below_.output.size(), 0u) << "nothing is done with a text that lacks a part, nor behind it";
  }
  EXPECT_TRUE(server_.Budget().Take(3000000));
  EXPECT_EQ(BodyOf(run("<uppercase>" + std::string(3000, 'x') + "</uppercase>")).size(), 3001u);
  server_.Budget().Return(RequestBudget::kBytes);
  EXPECT_TRUE(lmClosePortW(port));
}

#ifndef _WIN32
TEST_F(Server, WaitsWhereTheProcessHasNoFilesLeft) {
  WebClient client(0);
  std::vector<int> filling;
  ExpectAnswers();
  AwaitClients(0);
  Sleep(100);  // its socket is closed after it has left the list
  {
    const OpenFileLimit few(256);
    for (int file; (file = ::dup(0)) >= 0;) filling.push_back(file);
    EXPECT_TRUE(client.Connect(port_));
    const std::clock_t begin = std::clock();
    Sleep(500);
    EXPECT_LT(std::clock() - begin, CLOCKS_PER_SEC / 10) << "it must not try without end";
    for (const int file : filling) ::close(file);
  }
  EXPECT_THAT(client.Send(kTick).Read(), StartsWith("HTTP/1.1 200"));
}
#endif

TEST_F(Server, AHandlerThatHangsIsLeftToItselfAtTheEnd) {
  unique_handle go(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  server_.onRequest = [&](std::string_view, std::string* response, bool*) {
    WaitForSingleObject(go.Get(), INFINITE);
    *response = "too late";
    return true;
  };
  WebClient client(port_);
  client.Send(kTick);
  AwaitClients(1);
  Sleep(50);
  platform::SetTimeScale(20);
  const DWORD begin = GetTickCount();
  EXPECT_TRUE(server_.Shutdown());
  EXPECT_GE(GetTickCount() - begin, 4900u);
  EXPECT_EQ(client.Read(), "");
  SetEvent(go.Get());
  for (int i = 0; i < 1000 && server_.Threads().ThreadCount() > 0; ++i) Sleep(10);
}

TEST_F(Server, FailuresOfAHandlerEndThatClientOnly) {
  constexpr void (*kFailures[])() = {ReadNull,
                                     DivideByZero,
                                     [] { throw OException(4711, "It broke."); },
                                     [] { throw CMemoryException::Instance(); },
                                     [] { throw std::bad_alloc(); },
                                     [] { throw std::runtime_error("Bad luck."); }};
  void (*fail)() = nullptr;
  server_.onRequest = [&](std::string_view bytes, std::string*, bool*) {
    if (bytes != kTick) fail();
    return false;
  };
  for (const auto failure : kFailures) {
    fail = failure;
    EXPECT_EQ(Ask("GET /fail\r\n\r\n"), "");
    ExpectAnswers();
  }
}

TEST_F(Server, RunsRequestsAgainstPortsAndTellsOfPrinters) {
  spooler_.printers["Labels"] = {"Out", "shared"};
  spooler_.printers["Labels"].driver = {{"name", "LP 8"}, {"manufacturer", "Maker"}, {"oemUrl", "http://maker"}};
  spooler_.printers["Boxes"] = {"Shelf", ""};
  const HANDLE port = Open("Out");
  const auto get = [&](const std::string& query) { return Ask("GET /" + query + " HTTP/1.1\r\n\r\n"); };
  const std::string upper = "xpml=%3Cuppercase%3Ea+b%3C/uppercase%3E";
  EXPECT_EQ(BodyOf(get("xpml?printer=Labels&" + upper)), std::string("A B\0", 4));
  EXPECT_EQ(BodyOf(get("xpml?printer=*&" + upper)), std::string("A B\0", 4));
  EXPECT_EQ(BodyOf(get("xpml?printer=Boxes&share=SHARED&" + upper)), std::string("A B\0", 4));
  const std::string form = "PRINTER=Labels&" + upper + "%26%230%3B";
  const std::string binary =
      Ask("POST /xpml HTTP/1.1\r\nconnection: x\r\ncontent-length: " + std::to_string(form.size()) +
          "\r\nContent-Type: application/x-www-form-urlencoded\r\n\r\n" + form);
  EXPECT_THAT(binary, StartsWith("HTTP/1.1 200 OK\r\nContent-Type: application/octet-stream\r\n"
                                 "Cache-Control: no-cache\r\nConnection: x\r\nDate: "));
  EXPECT_THAT(binary, EndsWith(std::string("\r\nContent-Length: 4\r\n\r\nA B\0", 27)));
  for (const char* bad : {"xpml?printer=Labels", "xpml?xpml=x", "xpml?printer=Nobody&xpml=x", "info",
                          "xpml?printer=Labels&share=none&xpml=x", "xpml?printer=Boxes&xpml=x"}) {
    EXPECT_THAT(get(bad),
                AllOf(StartsWith("HTTP/1.1 400 Bad Request\r\n"), EndsWith("\r\nAccept-Ranges: None\r\n\r\n")))
        << bad;
  }
  const std::string info = get("info?printer=Labels");
  EXPECT_THAT(info,
              AllOf(HasSubstr("Content-Type: text/plain\r\n"), HasSubstr("\r\n\r\nName: \t\t\tLabels\r\nShare Name: "),
                    HasSubstr("\r\nManufacturer: \t\tMaker\r\nOEM: \t\t\thttp://maker\r\nPrint Processor: \t")));
  // The thread that says so serves the next one as well.
  EXPECT_THAT(get("info?printer=Late"), HasSubstr("\r\nManufacturer: \t\t\r\n"));
  AwaitClients(0);
  Sleep(100);
  spooler_.printers["Late"] = spooler_.printers["Labels"];
  EXPECT_THAT(get("info?printer=Late"), HasSubstr("\r\nManufacturer: \t\tMaker\r\n"));
  EXPECT_TRUE(lmClosePortW(port));
  EXPECT_THAT(get("xpml?printer=Labels&" + upper), StartsWith("HTTP/1.1 400"));
}

TEST_F(Server, APortInUseIsNotClosed) {
  const HANDLE port = Open("Out");
  PortUse use = Ports()->FindByPortName("Out");
  std::atomic<int> writes = 0;
  below_.onWrite = [&](DWORD, DWORD* written) {
    ++writes;
    Sleep(10);
    *written = 0;
    return FALSE;
  };
  const DWORD begin = GetTickCount();
  std::thread writer([&] {
    std::string request = "<packet>!</packet>";
    for (int i = 0; i < 100000; ++i) request += "<packet>.</packet>?";
    TextBuffer reply;
    EXPECT_FALSE(ExecuteRequest(use.Get(), request, reply));
    EXPECT_LT(reply.Length(), 10000u) << "it ends early";
  });
  while (writes == 0) Sleep(1);
  std::atomic<bool> closed = false;
  std::thread closer([&] {
    lmClosePortW(port);
    closed = true;
  });
  while (Ports()->FindByPortName("Out")) Sleep(1);
  Sleep(50);
  EXPECT_FALSE(closed);
  writer.join();
  EXPECT_LT(GetTickCount() - begin, 5000u) << "what it has to print does not keep it for the send timeout";
  use = PortUse();
  closer.join();
  std::int64_t after = 0;
  std::vector<platform::Event> events;
  platform::ReadEvents(&after, {}, 100, &events);
  EXPECT_LE(events.size(), 2u) << "of the packet that waited, and of all others";
}

}  // namespace
}  // namespace portwise
