#include "connection/connection_tcp.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "platform/kernel/modules.h"
#include "platform/test_clock.h"
#include "platform/text.h"
#include "settings/registry.h"
#include "tests/support/fake_port_link.h"
#include "tests/support/fake_printer.h"
#include "tests/support/fake_spooler.h"
#include "tests/support/last_error.h"
#include "tests/support/temporary_home.h"
#include "tests/support/wine.h"

#ifndef _WIN32
#include <dlfcn.h>
#include <netdb.h>
#endif

namespace {

/// What the name service knows of flaky.example: nothing while it is null. Other names are looked up as ever.
std::atomic<const char*> flakyAddress = nullptr;
std::atomic<int> flakyLookUps = 0;

}  // namespace

#ifdef _WIN32
namespace {

INT WSAAPI LookUp(PCWSTR node, PCWSTR service, const ADDRINFOW* hints, PADDRINFOW* results) {
  if (node == nullptr || std::wstring(node) != L"flaky.example") return GetAddrInfoW(node, service, hints, results);
  ++flakyLookUps;
  const char* address = flakyAddress;
  return address == nullptr ? EAI_AGAIN
                            : GetAddrInfoW(portwise::platform::ToUtf16(address).c_str(), service, hints, results);
}
const bool replaced = [] {
  portwise::platform::RegisterSystemModule("Ws2_32.dll", {{"GetAddrInfoW", portwise::platform::AsFarProc(LookUp)}});
  return true;
}();

}  // namespace
#else
extern "C" int getaddrinfo(const char* node, const char* service, const addrinfo* hints, addrinfo** results) {
  static const auto real = reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
  if (node == nullptr || std::string(node) != "flaky.example") return real(node, service, hints, results);
  ++flakyLookUps;
  const char* address = flakyAddress;
  return address == nullptr ? EAI_AGAIN : real(address, service, hints, results);
}
#endif

namespace portwise {
namespace {

/// At least and less than so many milliseconds.
auto Between(DWORD least, DWORD limit) { return testing::AllOf(testing::Ge(least), testing::Lt(limit)); }

class ConnectionTcpTest : public testing::Test {
 protected:
  ConnectionTcpTest() {
    spooler_.printers["Labels"] = {"IP_1", ""};
    SetPrinter(printer_);
    connection_.SetPortContext(&port_);
    connection_.RefreshAddress(false);
  }
  ~ConnectionTcpTest() override {
    // Else the connection would wait for the printer to close.
    printer_.Close();
    printer_.Refuse();
    platform::SetTimeScale(1);
  }

  void SetPrinter(const FakePrinter& printer) { RegisterPort("IP_1", "", "127.0.0.1", printer.Port()); }
  void OpenToPrinter() {
    ASSERT_TRUE(connection_.Open());
    ASSERT_TRUE(printer_.Accept());
  }
  bool Write(const std::string& data) {
    return connection_.Write(data.data(), static_cast<DWORD>(data.size()), &moved_);
  }
  void ExpectReceived(const std::string& data) { EXPECT_EQ(printer_.Receive(data.size()), data); }
  std::string Read(DWORD size = 16) {
    std::string data(size, '\0');
    const bool came = connection_.Read(data.data(), size, &moved_);
    return came ? data.substr(0, moved_) : "nothing";
  }
  /// Closes at its own end as soon as the connection has, as printers do.
  std::thread PrinterThatClosesToo(std::string* received) {
    return std::thread([this, received] {
      *received = printer_.Receive(1 << 28);
      printer_.Close();
    });
  }

  TemporaryHome home_;
  FakeSpooler spooler_;
  FakePrinter printer_{32768};
  FakePortLink port_{"IP_1"};
  Connection_TCP connection_;
  DWORD moved_ = 0;
};

TEST_F(ConnectionTcpTest, ARefusedConnectIsTriedThreeTimes) {
  printer_.Refuse();
  // The shortest of some tries, because the machine may be busy; a fourth attempt would take 300 ms.
  DWORD shortest = INFINITE;
  for (int i = 0; i < 3 || (shortest >= 300 && i < 20); ++i) {
    const DWORD start = GetTickCount();
    EXPECT_EQ(ErrorOf(connection_.Open()), WSAECONNREFUSED);
    shortest = std::min(shortest, GetTickCount() - start);
  }
  EXPECT_THAT(shortest, Between(200, 300));

  std::thread repair([this] {
    Sleep(150);
    printer_.Listen();
  });
  EXPECT_TRUE(connection_.Open());
  repair.join();
}

TEST_F(ConnectionTcpTest, APrinterThatDoesNotReadTakesNothingAndLosesNothing) {
  platform::SetTimeScale(10);
  OpenToPrinter();
  std::string data(4 << 20, '\0');
  for (std::size_t i = 0; i < data.size(); ++i) data[i] = static_cast<char>(i * 2654435761u >> 13);
  std::size_t sent = 0;
  const auto writeRest = [&] {
    const bool done = connection_.Write(data.data() + sent, static_cast<DWORD>(data.size() - sent), &moved_);
    sent += moved_;
    return done;
  };
  ASSERT_TRUE(writeRest());
  EXPECT_LT(sent, data.size());
  DWORD start = GetTickCount();
  while (writeRest()) start = GetTickCount();
  EXPECT_EQ(moved_, 0u);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(WSAEWOULDBLOCK));
  EXPECT_THAT(GetTickCount() - start, Between(900, 5000));
  EXPECT_TRUE(connection_.IsConnected());

  std::string received;
  std::thread printer = PrinterThatClosesToo(&received);
  for (int refused = 0; sent < data.size() && refused < 100;) refused += writeRest() ? 0 : 1;
  platform::SetTimeScale(1);
  EXPECT_EQ(sent, data.size());
  EXPECT_TRUE(connection_.EndDoc());
  printer.join();
  EXPECT_TRUE(received == data);
}

TEST_F(ConnectionTcpTest, AStandingConnectionIsKeptUntilThePrinterClosesIt) {
  OpenToPrinter();
  EXPECT_TRUE(connection_.Open());
  EXPECT_FALSE(printer_.Accept(50));
  enum class End { Orderly, Reset, AfterLastWords };
  for (const End end : {End::Orderly, End::Reset, End::AfterLastWords}) {
    if (end == End::AfterLastWords && IsWine()) break;
    ASSERT_TRUE(connection_.Open());
    ASSERT_TRUE(Write("first"));
    ASSERT_TRUE(end == End::Orderly || printer_.Accept());
    ExpectReceived("first");
    if (end == End::AfterLastWords) printer_.Send("off now");  // which nobody reads
    end == End::Reset ? printer_.Reset() : printer_.Close();
    ASSERT_TRUE(connection_.StartDoc(1, 1, nullptr));
    ASSERT_TRUE(Write("again"));
    ASSERT_TRUE(printer_.Accept()) << static_cast<int>(end);
    ExpectReceived("again");
    printer_.Close();
  }
}

TEST_F(ConnectionTcpTest, AFailedWriteClosesAndTheNextOneConnectsAgain) {
  OpenToPrinter();
  printer_.Reset();
  EXPECT_EQ(ErrorOf(Write("lost")), WSAECONNRESET);
  EXPECT_FALSE(connection_.IsConnected());
  ASSERT_TRUE(Write("found") && printer_.Accept());
  ExpectReceived("found");
}

TEST_F(ConnectionTcpTest, AnAddressChangedInTheRegistryIsUsedFromTheNextOpenOn) {
  OpenToPrinter();
  std::string received;
  std::thread first = PrinterThatClosesToo(&received);
  FakePrinter second;
  SetPrinter(second);
  ASSERT_TRUE(connection_.Open());
  first.join();
  ASSERT_TRUE(second.Accept());
  EXPECT_EQ(connection_.NetworkAddress()->portNumber, second.Port());
  EXPECT_TRUE(connection_.RefreshAddress(true));
  EXPECT_EQ(connection_.NetworkAddress()->portNumber, second.Port() + 1u);
  EXPECT_FALSE(connection_.RefreshAddress(true));
  second.Close();

  RegisterPort("IP_1", "", "", second.Port());
  EXPECT_EQ(ErrorOf(connection_.Open()), WSAHOST_NOT_FOUND);
  RegisterPort("IP_1", "localhost", "10.255.255.1", second.Port());
  EXPECT_TRUE(connection_.Open() && second.Accept());
}

TEST_F(ConnectionTcpTest, ANameThatIsNotFoundIsLookedUpAgainAfterAWhile) {
  platform::SetTimeScale(20);
  flakyLookUps = 0;
  RegisterPort("IP_1", "flaky.example", "", printer_.Port());
  for (int attempt = 0; attempt < 3; ++attempt) EXPECT_EQ(ErrorOf(connection_.Open()), WSATRY_AGAIN);
  EXPECT_EQ(flakyLookUps, 1);
  flakyAddress = "127.0.0.1";
  EXPECT_FALSE(Write("too soon"));
  Sleep(6000);
  ASSERT_TRUE(Write("found") && printer_.Accept());
  ExpectReceived("found");
  EXPECT_EQ(flakyLookUps, 2);
  // An address that is known stays so when the name service goes away again.
  flakyAddress = nullptr;
  printer_.Reset();
  Write("lost");
  EXPECT_TRUE(Write("again") && printer_.Accept());
  ExpectReceived("again");
  printer_.Close();
  RegisterPort("IP_1", "flaky.example", "", printer_.Port() - 1u);
  EXPECT_TRUE(connection_.OpenStatus() && printer_.Accept()) << "on every channel";
  printer_.Close();
  RegisterPort("IP_1", "flaky.example", "127.0.0.2", printer_.Port());
  EXPECT_FALSE(connection_.Open()) << "a port that was edited may be another printer";
}

TEST_F(ConnectionTcpTest, ACloseWaitsFromThePrintersLastSignAndDeliversEverything) {
  platform::SetTimeScale(20);
  platform::SetTickCount(0xFFFFF000u);
  OpenToPrinter();
  ASSERT_TRUE(Write("all of it"));
  const DWORD start = GetTickCount();
  std::thread chatter([this] {
    Sleep(3000);
    printer_.Send("status");
  });
  EXPECT_EQ(ErrorOf(connection_.Close()), WSAETIMEDOUT);
  EXPECT_THAT(GetTickCount() - start, Between(7900, 40000));
  chatter.join();
  EXPECT_EQ(printer_.Receive(100), "all of it");
}

TEST_F(ConnectionTcpTest, ReadGathersBurstsAndLeavesASilentConnectionOpen) {
  OpenToPrinter();
  const DWORD start = GetTickCount();
  EXPECT_EQ(Read(), "nothing");
  EXPECT_THAT(GetTickCount() - start, Between(950, 2000));
  EXPECT_TRUE(connection_.IsConnected());
  std::promise<void> gathered;
  std::thread answer([this, &gathered] {
    printer_.Send("one ");
    Sleep(60);
    printer_.Send("two");
    gathered.get_future().wait();
    printer_.Send("late");
    printer_.Close();
  });
  EXPECT_EQ(Read(), "one two");
  gathered.set_value();
  answer.join();
  EXPECT_EQ(Read(2), "la");
  EXPECT_EQ(Read(), "te");
  EXPECT_EQ(Read(), "nothing");
  EXPECT_TRUE(connection_.IsConnected());
}

TEST_F(ConnectionTcpTest, AnAbortEndsWhatIsUnderWayForGood) {
  const std::string data(1 << 20, 'x');
  const std::function<void(Connection_TCP&)> underWay[] = {
      [&](Connection_TCP& connection) {
        DWORD written;
        while (connection.Write(data.data(), static_cast<DWORD>(data.size()), &written)) {
        }
      },
      [](Connection_TCP& connection) {
        char buffer[16];
        DWORD read;
        while (!connection.Read(buffer, sizeof buffer, &read) && connection.IsConnected()) {
        }
      },
      [](Connection_TCP& connection) { connection.Close(); },
  };
  for (const auto& work : underWay) {
    Connection_TCP connection;
    connection.SetPortContext(&port_);
    ASSERT_TRUE(connection.Open());
    ASSERT_TRUE(printer_.Accept());
    std::thread user([&] { work(connection); });
    Sleep(100);
    const DWORD start = GetTickCount();
    connection.Abort();
    user.join();
    EXPECT_LT(GetTickCount() - start, 900u);
    EXPECT_TRUE(!connection.Open() && !connection.IsConnected() && connection.Close());
    EXPECT_EQ(ErrorOf(connection.Write("x", 1, &moved_)), ERROR_OPERATION_ABORTED);
    // Whoever goes on writing while the printer can be reached must not do so for ever, nor wait.
    for (int call = 0; call < 100; ++call) EXPECT_FALSE(connection.Write("x", 1, &moved_));
    SetLastError(0);
    EXPECT_EQ(connection.GetStatus(STATUS_DISCONNECTED | STATUS_OFF_LINE), STATUS_DISCONNECTED);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_OPERATION_ABORTED));
    EXPECT_LT(GetTickCount() - start, 8000u);
  }
}

TEST_F(ConnectionTcpTest, AConnectToASilentPrinterEndsWithThePort) {
  // Connects past the backlog get no answer.
  const sockaddr_in address = peer::Loopback(printer_.Port());
  std::vector<unique_socket> others(12);
  for (unique_socket& other : others) {
    other.Reset(WSASocketW(AF_INET, SOCK_STREAM, 0, nullptr, 0, WSA_FLAG_OVERLAPPED));
    ULONG nonBlocking = 1;
    ioctlsocket(other.Get(), static_cast<LONG>(FIONBIO), &nonBlocking);
    connect(other.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
  }
  const DWORD start = GetTickCount();
  std::thread closes([this] {
    Sleep(300);
    port_.closing = true;
  });
  EXPECT_EQ(ErrorOf(connection_.Open()), ERROR_OPERATION_ABORTED);
  EXPECT_THAT(GetTickCount() - start, Between(250, 8000));
  closes.join();
}

TEST_F(ConnectionTcpTest, TheStatusChannelIsTheNextPortOnTheSameSocket) {
  // The first port must have the status channel's behind it.
  FakePrinter status;
  RegisterPort("IP_1", "", "127.0.0.1", status.Port() - 1u);
  connection_.CountAsPrintData(false);
  ASSERT_TRUE(connection_.OpenStatus());
  ASSERT_TRUE(status.Accept());
  EXPECT_EQ(connection_.NetworkAddress()->portNumber, status.Port());
  ASSERT_TRUE(connection_.OpenStatus());
  EXPECT_FALSE(status.Accept(50)) << "it stands already";
  // What breaks there comes back there, whoever asks for the printer's state meanwhile.
  status.Reset();
  EXPECT_FALSE(Write("?"));
  connection_.GetStatus(STATUS_DISCONNECTED);
  EXPECT_EQ(connection_.NetworkAddress()->portNumber, status.Port());
  EXPECT_TRUE(Write("?") && status.Accept());
  EXPECT_EQ(status.Receive(1), "?");
  // Nobody waits long for one that does not close its side.
  SetPrinter(printer_);
  const DWORD start = GetTickCount();
  OpenToPrinter();
  EXPECT_TRUE(IsWine() || GetTickCount() - start < 2500);
}

TEST_F(ConnectionTcpTest, ACloseWaitsForTheNextJobWhenThereIsOne) {
  platform::SetTimeScale(20);
  const OString period = "PRINT:Printers/Labels/PrinterDriverData/Settings/TCP Port Delayed Close Period";
  ORegistry().SetDword(period, 4000);
  connection_.SetKeepOpen(true);
  DWORD start = 0;
  for (int job = 0; job < 3; ++job) {
    // Ports that are not open below begin without a word.
    ASSERT_TRUE(job == 2 || connection_.StartDoc(1, 1, nullptr));
    ASSERT_TRUE(Write("job"));
    if (job == 2) Sleep(6000);
    EXPECT_TRUE(connection_.IsConnected());
    start = GetTickCount();
    ASSERT_TRUE(connection_.EndDoc());
    Sleep(job * 100);
  }
  ASSERT_TRUE(printer_.Accept());
  ExpectReceived("jobjobjob");  // over one connection
  std::thread closes([&] {
    printer_.Receive(1);
    printer_.Close();
  });
  while (connection_.IsConnected() && GetTickCount() - start < 60000) Sleep(50);
  EXPECT_THAT(GetTickCount() - start, Between(3900, 40000));
  closes.join();

  // Without the period, and without more jobs, at once.
  std::string received;
  for (const bool keepOpen : {true, false}) {
    connection_.SetKeepOpen(keepOpen);
    if (keepOpen) {
      ORegistry().SetDword(period, 0);
      Sleep(6000);  // the period is read every five seconds
    }
    OpenToPrinter();
    std::thread printer = PrinterThatClosesToo(&received);
    EXPECT_TRUE(connection_.Close() && !connection_.IsConnected());
    printer.join();
  }
}

TEST_F(ConnectionTcpTest, AWaitingCloseEndsWithTheConnectionAndItsAbort) {
  for (const bool abort : {true, false}) {
    Connection_TCP connection;
    connection.SetPortContext(&port_);
    ASSERT_TRUE(connection.Open() && printer_.Accept());
    connection.SetKeepOpen(true);
    const DWORD start = GetTickCount();
    for (int call = 0; call < 2; ++call) EXPECT_TRUE(connection.Close()) << "one wait is enough";
    std::string received;
    std::thread printer = PrinterThatClosesToo(&received);
    if (abort) {
      connection.Abort();
    } else {
      connection.SetKeepOpen(false);
      EXPECT_TRUE(connection.Close());
    }
    printer.join();
    EXPECT_LT(GetTickCount() - start, 5000u);
  }
}

TEST_F(ConnectionTcpTest, APrinterThatIsNotConnectedIsPingedNowAndThen) {
  platform::SetTimeScale(10);
  EXPECT_EQ(connection_.GetStatus(STATUS_UNIDIRECTIONAL | STATUS_OFF_LINE), 0u);
  EXPECT_EQ(connection_.GetStatus(STATUS_DISCONNECTED), 0u) << "this computer answers";
  RegisterPort("IP_1", "", "", printer_.Port());
  EXPECT_EQ(connection_.GetStatus(STATUS_DISCONNECTED), 0u) << "the answer counts for a while";
  Sleep(2500);
  EXPECT_EQ(connection_.GetStatus(STATUS_DISCONNECTED), STATUS_DISCONNECTED) << "nobody has no address";
  SetPrinter(printer_);
  Sleep(2500);
  EXPECT_EQ(connection_.GetStatus(STATUS_DISCONNECTED), 0u) << "a new address is seen";
}

TEST_F(ConnectionTcpTest, BytesThatALostConnectionHadTakenAreCounted) {
  const auto start = [this] {
    ASSERT_TRUE(connection_.StartDoc(1, 1, nullptr));
    connection_.BeginCount();
    EXPECT_EQ(connection_.TakeUnconfirmedBytes(), 0u);
    ASSERT_TRUE(printer_.Accept());
  };
  start();
  ASSERT_TRUE(Write("12345"));
  ExpectReceived("12345");
  printer_.Reset();
  EXPECT_FALSE(Write("67"));
  EXPECT_EQ(connection_.TakeUnconfirmedBytes(), 5u);
  ASSERT_TRUE(Write("67") && printer_.Accept());
  // It breaks off at the end, with bytes that nobody has read.
  std::thread breaks([this] {
    Sleep(100);
    printer_.Close();
  });
  const BOOL ended = connection_.EndDoc();
  breaks.join();
  const ULONGLONG unconfirmed = connection_.TakeUnconfirmedBytes();
  EXPECT_TRUE(IsWine() || (!ended && unconfirmed == 2)) << unconfirmed;

  start();
  ASSERT_TRUE(Write("fine"));
  std::string received;
  std::thread printer = PrinterThatClosesToo(&received);
  EXPECT_TRUE(connection_.EndDoc());
  printer.join();
  EXPECT_EQ(received, "fine");
  EXPECT_EQ(connection_.TakeUnconfirmedBytes(), 0u);
  EXPECT_TRUE(port_.warnings.empty());
}

TEST_F(ConnectionTcpTest, ACloseKnowsWhatASilentPrinterHasAcknowledged) {
  platform::SetTimeScale(20);
  enum class End { Silent, HalfClosed, ReadsOn, ReadsLater, Resets, SilentWhileTheJobIsDeleted };
  const struct {
    std::size_t size;
    End end;
    DWORD error;
    bool moreJobs = false;
  } kRows[] = {
      {1000, End::Silent, WSAETIMEDOUT},
      {300000, End::Silent, WSAETIMEDOUT},
      {1000, End::HalfClosed, 0},
      {300000, End::HalfClosed, WSAETIMEDOUT},
      {300000, End::ReadsOn, 0},
      {300000, End::ReadsLater, WSAETIMEDOUT},
      {300000, End::Resets, WSAECONNRESET},
      {300000, End::ReadsOn, 0, true},
      {300000, End::Resets, WSAECONNRESET, true},
      {300000, End::Silent, WSAETIMEDOUT, true},
      {300000, End::SilentWhileTheJobIsDeleted, ERROR_OPERATION_ABORTED},
  };
  for (const auto& [size, end, error, moreJobs] : kRows) {
    SCOPED_TRACE(testing::Message() << size << " " << static_cast<int>(end) << " " << moreJobs);
    port_.warnings.clear();
    connection_.SetKeepOpen(moreJobs);
    ASSERT_TRUE(connection_.StartDoc(1, 1, nullptr));
    ASSERT_TRUE(printer_.Accept());
    connection_.BeginCount();
    if (end != End::Silent && !moreJobs) printer_.EndSending();
    ASSERT_TRUE(Write(std::string(size, 'x')));
    const DWORD sent = moved_;
    std::string received;
    std::thread printer([&, how = end] {
      Sleep(3000);
      if (how == End::Resets) printer_.Reset();
      port_.deleted = how == End::SilentWhileTheJobIsDeleted;
      // Each piece within five seconds of the one before, and all of them well past that.
      while (how == End::ReadsOn && received.size() < sent) {
        Sleep(1000);
        received += printer_.Receive(std::min<std::size_t>(sent - received.size(), 20000));
      }
    });
    EXPECT_EQ(ErrorOf(connection_.EndDoc()), static_cast<LSTATUS>(error));
    printer.join();
    const std::size_t missing = end == End::Resets ? sent : sent - received.size() - printer_.Unread();
    EXPECT_EQ(missing == 0, size == 1000 || end == End::ReadsOn);
    const std::string warning =
        "not acknowledged " + std::to_string(missing) + " of the " + std::to_string(sent) + " bytes";
    EXPECT_EQ(port_.warnings.size(), error == WSAETIMEDOUT && missing > 0 ? 1u : 0u);
    for (const std::string& told : port_.warnings) EXPECT_THAT(told, testing::HasSubstr(warning));
    const bool later = end == End::ReadsLater;
    if (later) received = printer_.Receive(sent);
    EXPECT_EQ(connection_.TakeUnconfirmedBytes(), later ? 0 : missing);
    printer_.Close();
  }
}

TEST_F(ConnectionTcpTest, APrinterThatTalksAndNeverReadsLosesWhatItHasNotRead) {
  platform::SetTimeScale(10);
  OpenToPrinter();
  connection_.BeginCount();
  const std::string data(300000, 'x');
  ASSERT_TRUE(Write(data));
  const DWORD sent = moved_;
  std::atomic<bool> over = false;
  std::thread talker([&] {
    while (!over) {
      printer_.Send("x");
      Sleep(300);
    }
  });
  const DWORD start = GetTickCount();
  EXPECT_FALSE(connection_.Close());
  EXPECT_THAT(GetTickCount() - start, Between(55000, 300000));
  EXPECT_EQ(connection_.TakeUnconfirmedBytes(), sent);
  over = true;
  talker.join();
}

TEST_F(ConnectionTcpTest, ACloseThatOvertakesAReadLosesNothing) {
  for (int round = 0; round < 20; ++round) {
    Connection_TCP connection;
    connection.SetPortContext(&port_);
    ASSERT_TRUE(connection.StartDoc(1, 1, nullptr));
    ASSERT_TRUE(printer_.Accept());
    connection.BeginCount();
    ASSERT_TRUE(connection.Write("all", 3, &moved_));
    std::thread reader([&] {
      char buffer[4];
      DWORD read = 0;
      connection.Read(buffer, sizeof buffer, &read);
    });
    Sleep(static_cast<DWORD>(round % 5));
    std::string received;
    std::thread printer = PrinterThatClosesToo(&received);
    EXPECT_TRUE(connection.EndDoc());
    printer.join();
    reader.join();
    EXPECT_EQ(received, "all");
    EXPECT_EQ(connection.TakeUnconfirmedBytes(), 0u) << round;
    printer_.Refuse();  // what the read may have opened
    printer_.Listen();
  }
}

}  // namespace
}  // namespace portwise
