#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mstcpip.h>
#include <ws2tcpip.h>

#include <cstring>
#include <thread>
#include <utility>
#include <vector>

#include "platform/test_clock.h"
#include "tests/support/environment.h"
#include "tests/support/fake_printer.h"

namespace portwise {
namespace {

class SocketsTest : public testing::Test {
 protected:
  ~SocketsTest() override {
    platform::SetTimeScale(1);
    closesocket(socket_);
    WSACloseEvent(event_);
    EXPECT_EQ(WSACleanup(), 0);
  }

  int Connect(std::uint16_t port, std::uint32_t address = INADDR_LOOPBACK) {
    sockaddr_in peer = {};
    peer.sin_family = AF_INET;
    peer.sin_port = htons(port);
    peer.sin_addr.s_addr = htonl(address);
    return connect(socket_, reinterpret_cast<const sockaddr*>(&peer), static_cast<int>(sizeof peer)) == 0
               ? 0
               : WSAGetLastError();
  }
  void ConnectToPrinter() {
    ASSERT_EQ(Connect(printer_.Port()), 0);
    ASSERT_TRUE(printer_.Accept());
  }
  void SetBlocking(bool blocking) {
    ULONG nonBlocking = blocking ? 0 : 1;
    ASSERT_EQ(ioctlsocket(socket_, static_cast<LONG>(FIONBIO), &nonBlocking), 0);
  }
  int Send(const char* text) { return send(socket_, text, static_cast<int>(std::strlen(text)), 0); }
  int Receive(int size) { return recv(socket_, buffer_, size, 0); }
  int Error(int result) { return result == SOCKET_ERROR ? WSAGetLastError() : 0; }

  /// The events that the wait reports, or 0 when it runs out of `milliseconds`.
  LONG Await(DWORD milliseconds = 2000) {
    happened_ = {};
    if (WSAWaitForMultipleEvents(1, &event_, FALSE, milliseconds, FALSE) != WSA_WAIT_EVENT_0) return 0;
    EXPECT_EQ(WSAEnumNetworkEvents(socket_, event_, &happened_), 0);
    return happened_.lNetworkEvents;
  }

  WSADATA data_;
  const int started_ = WSAStartup(MAKEWORD(2, 2), &data_);
  FakePrinter printer_;
  SOCKET socket_ = WSASocketW(AF_INET, SOCK_STREAM, 0, nullptr, 0, WSA_FLAG_OVERLAPPED);
  WSAEVENT event_ = WSACreateEvent();
  WSANETWORKEVENTS happened_ = {};
  char buffer_[1024];
};

TEST_F(SocketsTest, FailuresHaveTheirWinsockCodes) {
  EXPECT_EQ(Connect(printer_.Port(), INADDR_ANY), WSAEADDRNOTAVAIL);
  printer_.Refuse();
  EXPECT_EQ(Connect(printer_.Port()), WSAECONNREFUSED);
  EXPECT_EQ(Error(Send("x")), WSAENOTCONN);
  printer_.Listen();
  ConnectToPrinter();
  SetBlocking(false);
  EXPECT_EQ(Error(Receive(1)), WSAEWOULDBLOCK);
  SetBlocking(true);

  platform::SetTimeScale(10);
  const DWORD timeout = 3000;
  ASSERT_EQ(setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&timeout), sizeof timeout), 0);
  const DWORD start = GetTickCount();
  EXPECT_EQ(Error(Receive(1)), WSAETIMEDOUT);
  EXPECT_THAT(GetTickCount() - start, testing::AllOf(testing::Ge(2900u), testing::Lt(10000u)));

  shutdown(socket_, SD_SEND);
  EXPECT_EQ(Error(Send("x")), WSAESHUTDOWN);
  ASSERT_EQ(WSAEventSelect(socket_, event_, FD_CLOSE), 0);
  printer_.Reset();
  EXPECT_EQ(Await(), FD_CLOSE);
  EXPECT_EQ(happened_.iErrorCode[FD_CLOSE_BIT], WSAECONNRESET);
  EXPECT_EQ(Error(Receive(1)), WSAECONNRESET);
  EXPECT_EQ(Error(Send("x")), WSAECONNRESET);
}

TEST_F(SocketsTest, AnEventIsReportedAgainOnlyAfterTheCallThatEnablesIt) {
  ConnectToPrinter();
  // A selection ends with zero and may begin again.
  ASSERT_EQ(WSAEventSelect(socket_, event_, FD_READ), 0);
  ASSERT_EQ(WSAEventSelect(socket_, nullptr, 0), 0);
  printer_.Send("ab");
  EXPECT_EQ(Await(20), 0);
  ASSERT_EQ(WSAEventSelect(socket_, event_, FD_READ | FD_CLOSE), 0);
  EXPECT_EQ(Await(), FD_READ);
  printer_.Send("cdef");
  printer_.Close();
  EXPECT_EQ(Await(50), 0);
  EXPECT_EQ(Receive(2), 2);
  EXPECT_EQ(Await(), FD_READ);
  EXPECT_EQ(Receive(8), 4);
  EXPECT_EQ(Await(), FD_CLOSE);
  EXPECT_EQ(happened_.iErrorCode[FD_CLOSE_BIT], 0);
  EXPECT_EQ(Receive(1), 0);
  EXPECT_EQ(Await(50), 0);
}

TEST_F(SocketsTest, RoomToWriteIsAnEvent) {
  ConnectToPrinter();
  ASSERT_EQ(WSAEventSelect(socket_, event_, FD_WRITE), 0);
  EXPECT_EQ(Await(), FD_WRITE);
  std::size_t sent = 0;
  int result;
  while ((result = send(socket_, buffer_, static_cast<int>(sizeof buffer_), 0)) > 0)
    sent += static_cast<std::size_t>(result);
  EXPECT_EQ(WSAGetLastError(), WSAEWOULDBLOCK);
  EXPECT_EQ(Await(20), 0);
  EXPECT_EQ(printer_.Receive(sent).size(), sent);
  EXPECT_EQ(Await(), FD_WRITE);
  EXPECT_EQ(Await(20), 0);
}

TEST_F(SocketsTest, AConnectWaitsLongerThanASendMay) {
  std::vector<SOCKET> others(9);  // as many as connect before the printer accepts
  for (SOCKET& other : others) {
    EXPECT_EQ(Connect(printer_.Port()), 0);
    other = std::exchange(socket_, WSASocketW(AF_INET, SOCK_STREAM, 0, nullptr, 0, WSA_FLAG_OVERLAPPED));
  }
  const DWORD timeout = 50;
  ASSERT_EQ(setsockopt(socket_, SOL_SOCKET, SO_SNDTIMEO, reinterpret_cast<const char*>(&timeout), sizeof timeout), 0);
  std::thread accepting([&] {
    Sleep(300);
    while (printer_.Accept(10)) {
    }
  });
  const DWORD start = GetTickCount();
  EXPECT_EQ(Connect(printer_.Port()), 0);
  EXPECT_GE(GetTickCount() - start, 300u);
  accepting.join();
  for (const SOCKET other : others) closesocket(other);
}

TEST_F(SocketsTest, AConnectionCountsWhatThePeerHasAcknowledged) {
  FakePrinter slow(4096);
  ASSERT_EQ(Connect(slow.Port()), 0);
  ASSERT_TRUE(slow.Accept());
  SetBlocking(false);
  DWORD version = 0, size = 0;
  TCP_INFO_v0 info = {};
  const auto acknowledged = [&] {
    EXPECT_EQ(WSAIoctl(socket_, SIO_TCP_INFO, &version, sizeof version, &info, sizeof info, &size, nullptr, nullptr),
              0);
    return info.BytesOut - info.BytesRetrans - info.BytesInFlight;
  };
  EXPECT_EQ(acknowledged(), 0u);
  EXPECT_EQ(info.State, TCPSTATE_ESTABLISHED);
  const std::string data(1000000, 'x');
  std::size_t sent = 0;
  for (int result = 0; (result = Send(data.c_str())) > 0;) sent += static_cast<std::size_t>(result);
  shutdown(socket_, SD_SEND);
  Sleep(100);
  // What the peer has acknowledged is what its system has taken in, and nothing else.
  EXPECT_EQ(acknowledged(), slow.Unread());
  EXPECT_LT(slow.Unread(), sent);
  EXPECT_EQ(info.State, TCPSTATE_FIN_WAIT_1);
  EXPECT_EQ(slow.Receive(sent).size(), sent);
  Sleep(100);
  EXPECT_EQ(acknowledged(), sent) << "the end of the connection is no byte";
  slow.Close();
  Sleep(100);
  EXPECT_EQ(acknowledged(), sent) << "and its counts outlive it";
}

TEST_F(SocketsTest, NamesAreLookedUpThroughTheSystemModule) {
  HMODULE library = GetModuleHandleW(TEXT("Ws2_32.dll"));
  using LookUp = INT (*)(PCWSTR, PCWSTR, const ADDRINFOW*, PADDRINFOW*);
  const auto lookUp = reinterpret_cast<LookUp>(reinterpret_cast<void (*)()>(GetProcAddress(library, "GetAddrInfoW")));
  const auto release =
      reinterpret_cast<void (*)(PADDRINFOW)>(reinterpret_cast<void (*)()>(GetProcAddress(library, "FreeAddrInfoW")));
  ASSERT_TRUE(lookUp != nullptr && release != nullptr);
  ADDRINFOW hints = {};
  hints.ai_family = AF_INET;
  PADDRINFOW found = nullptr;
  SetVariable("PORTWISE_COMPUTER_NAME", "-in-no-file-");
  for (const WCHAR* name : {TEXT("localhost"), TEXT("-in-No-file-")}) {
    ASSERT_EQ(lookUp(name, TEXT("9100"), &hints, &found), 0);
    const auto* address = reinterpret_cast<const sockaddr_in*>(found->ai_addr);
    EXPECT_EQ(ntohl(address->sin_addr.s_addr), INADDR_LOOPBACK);
    EXPECT_EQ(ntohs(address->sin_port), 9100);
    release(found);
  }
  SetVariable("PORTWISE_COMPUTER_NAME", nullptr);
  hints.ai_flags = AI_NUMERICHOST;
  EXPECT_EQ(lookUp(TEXT("no-address"), nullptr, &hints, &found), WSAHOST_NOT_FOUND);
  EXPECT_EQ(WSAGetLastError(), WSAHOST_NOT_FOUND);
}

}  // namespace
}  // namespace portwise
