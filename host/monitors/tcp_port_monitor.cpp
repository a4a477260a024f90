#include "host/monitors/tcp_port_monitor.h"

#include <ws2tcpip.h>

#include <algorithm>
#include <atomic>

#include "host/monitors/monitor_table.h"
#include "platform/test_clock.h"

namespace portwise {

namespace {

constexpr INT kConnectTime = 10000;
constexpr INT kDefaultWriteTime = 10000;
constexpr INT kDefaultReadTime = 500;
/// How long the end of a document waits for the printer to close its side.
constexpr INT kCloseTime = 5000;

/// Owns a non-blocking socket and Winsock itself.
class TcpSocket {
 public:
  TcpSocket() {
    WSADATA data;
    WSAStartup(MAKEWORD(2, 2), &data);
  }
  ~TcpSocket() {
    Close();
    WSACleanup();
  }
  TcpSocket(const TcpSocket&) = delete;
  TcpSocket& operator=(const TcpSocket&) = delete;

  bool Connect(const addrinfo& address) {
    Close();
    socket_ = WSASocketW(address.ai_family, SOCK_STREAM, IPPROTO_TCP, nullptr, 0, WSA_FLAG_OVERLAPPED);
    ULONG nonBlocking = 1;
    if (socket_ == INVALID_SOCKET || ioctlsocket(socket_, FIONBIO, &nonBlocking) != 0) return false;
    if (connect(socket_, address.ai_addr, static_cast<int>(address.ai_addrlen)) == 0) return true;
    if (WSAGetLastError() != WSAEWOULDBLOCK && WSAGetLastError() != WSAEINPROGRESS) return false;
    if (!Wait(POLLOUT, kConnectTime)) return false;
    int error = 0;
    int size = sizeof(error);
    if (getsockopt(socket_, SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error), &size) != 0) return false;
    if (error != 0) WSASetLastError(error);
    return error == 0;
  }

  /// False with WSAETIMEDOUT when nothing happens in time.
  bool Wait(SHORT events, INT milliseconds) {
    WSAPOLLFD entry{socket_, events, 0};
    int ready = WSAPoll(&entry, 1, milliseconds);
    if (ready == 0) WSASetLastError(WSAETIMEDOUT);
    return ready > 0;
  }

  void Close() {
    if (socket_ != INVALID_SOCKET) closesocket(socket_);
    socket_ = INVALID_SOCKET;
  }

  SOCKET Get() const { return socket_; }
  bool IsOpen() const { return socket_ != INVALID_SOCKET; }

 private:
  SOCKET socket_ = INVALID_SOCKET;
};

class TcpPort {
 public:
  explicit TcpPort(Port port) : port_(std::move(port)) {}

  bool StartDoc() {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(port_.host.c_str(), std::to_string(port_.portNumber).c_str(), &hints, &found) != 0) {
      WSASetLastError(WSAHOST_NOT_FOUND);
      return false;
    }
    std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> addresses(found, freeaddrinfo);
    bool connected = false;
    for (addrinfo* next = found; next && !connected; next = next->ai_next) connected = socket_.Connect(*next);
    if (!connected) {
      DWORD error = GetLastError();
      socket_.Close();
      SetLastError(error);
    }
    return connected;
  }

  bool Write(const BYTE* buffer, DWORD size, LPDWORD written) {
    if (!CheckOpen()) return false;
    DWORD given = writeTime_;
    if (!socket_.Wait(POLLOUT, given ? static_cast<INT>(given) : kDefaultWriteTime)) return false;
    int sent = send(socket_.Get(), reinterpret_cast<const char*>(buffer), static_cast<int>(size), MSG_NOSIGNAL);
    if (sent < 0) return false;
    *written = static_cast<DWORD>(sent);
    return true;
  }

  bool Read(BYTE* buffer, DWORD size, LPDWORD read) {
    if (!CheckOpen()) return false;
    DWORD given = readTime_;
    if (!socket_.Wait(POLLIN, given ? static_cast<INT>(given) : kDefaultReadTime))
      return WSAGetLastError() == WSAETIMEDOUT;
    int received = recv(socket_.Get(), reinterpret_cast<char*>(buffer), static_cast<int>(size), 0);
    if (received < 0) return false;
    *read = static_cast<DWORD>(received);
    return true;
  }

  /// Says that no more comes and waits for the printer to close too: closing at once, with something of the printer
  /// unread, would reset the connection and lose data on its way.
  bool EndDoc() {
    if (!socket_.IsOpen()) return true;
    shutdown(socket_.Get(), SD_SEND);
    long long end = platform::ClockMilliseconds() + kCloseTime;
    char rest[1024];
    for (long long left = kCloseTime; left > 0; left = end - platform::ClockMilliseconds()) {
      if (!socket_.Wait(POLLIN, static_cast<INT>(left)) ||
          recv(socket_.Get(), rest, static_cast<int>(sizeof(rest)), 0) <= 0)
        break;
    }
    socket_.Close();
    return true;
  }

  void SetTimeouts(const COMMTIMEOUTS& timeouts) {
    constexpr DWORD kLongest = 600000;
    readTime_ = std::min(timeouts.ReadTotalTimeoutConstant, kLongest);
    writeTime_ = std::min(timeouts.WriteTotalTimeoutConstant, kLongest);
  }

 private:
  bool CheckOpen() {
    if (!socket_.IsOpen()) WSASetLastError(WSAENOTCONN);
    return socket_.IsOpen();
  }

  Port port_;
  TcpSocket socket_;
  std::atomic<DWORD> readTime_ = 0;
  std::atomic<DWORD> writeTime_ = 0;
};

}  // namespace

PortMonitor TcpPortMonitor() {
  MONITOR2* table = MonitorTable<TcpPort>::Get();
  return {table, table};
}

}  // namespace portwise
