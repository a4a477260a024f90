#include "host/monitors/tcp_port_monitor.h"

#include <algorithm>
#include <atomic>

#include "host/monitors/fail_slowly.h"
#include "host/monitors/monitor_table.h"
#include "host/monitors/open_slot.h"
#include "host/monitors/tcp_socket.h"

namespace portwise {

namespace {

constexpr DWORD kDefaultWriteTime = 10000;  // ms
constexpr DWORD kDefaultReadTime = 500;     // ms
constexpr DWORD kLongestTime = 600000;      // ms
/// How long the printer may acknowledge nothing more at the end of a document, and leave its side open.
constexpr DWORD kCloseTime = 5000;         // ms
constexpr DWORD kPauseAfterFailure = 100;  // ms

class TcpPort {
 public:
  explicit TcpPort(Port port) : port_(std::move(port)) {}

  bool StartDoc(const Port& registered, const Document& document) {
    port_ = registered;
    watch_.Begin(document);
    if (Connect()) return true;
    watch_.End();
    return false;
  }

  bool Write(const BYTE* buffer, DWORD size, LPDWORD written) {
    if (watch_.IsBroken()) {
      WSASetLastError(WSAECONNRESET);
      return FailSlowly(kPauseAfterFailure);
    }
    if (!socket_.Get() && !Connect()) return FailSlowly(kPauseAfterFailure);
    const auto socket = socket_.Get();
    const DWORD given = writeTime_;
    if (socket->Send(buffer, size, given ? given : kDefaultWriteTime, &watch_, written)) {
      watch_.CountTaken(*written);
      return true;
    }
    const DWORD error = GetLastError();
    if (error == WSAETIMEDOUT) return false;
    if (error != ERROR_PRINT_CANCELLED) {
      socket_.Drop(socket);
      watch_.BreakOff("the printer broke the connection off");
    }
    SetLastError(error);
    return FailSlowly(kPauseAfterFailure);
  }

  bool Read(BYTE* buffer, DWORD size, LPDWORD read) {
    const auto socket = socket_.Get();
    if (!socket) {
      WSASetLastError(WSAENOTCONN);
      return false;
    }
    const DWORD given = readTime_;
    if (!socket->Receive(buffer, size, given ? given : kDefaultReadTime, nullptr, read))
      return WSAGetLastError() == WSAETIMEDOUT;
    if (*read == 0 && size > 0) {
      // The printer has ended its side; whoever asks on and on must not keep the processor busy.
      Sleep(kPauseAfterFailure);
      SetLastError(ERROR_NO_DATA);
      return false;
    }
    return true;
  }

  bool EndDoc() {
    bool delivered = !watch_.IsBroken();
    DWORD error = delivered ? ERROR_SUCCESS : WSAECONNRESET;
    if (const auto socket = socket_.Get()) {
      watch_.BeginEnd();
      delivered = Finish(*socket);
      error = GetLastError();
      socket_.Drop(socket);
    }
    watch_.End();
    if (!delivered) SetLastError(error);
    return delivered;
  }

  void SetTimeouts(const COMMTIMEOUTS& timeouts) {
    readTime_ = std::min(timeouts.ReadTotalTimeoutConstant, kLongestTime);
    writeTime_ = std::min(timeouts.WriteTotalTimeoutConstant, kLongestTime);
  }

 private:
  bool Finish(TcpSocket& socket) {
    if (socket.FinishSending(kCloseTime, &watch_)) return true;
    const DWORD error = GetLastError();
    std::string reason;
    if (error != WSAETIMEDOUT && error != ERROR_PRINT_CANCELLED) {
      reason = "the printer broke the connection off; it may have printed a part of the job";
    } else if (const ULONGLONG missing = socket.Unacknowledged()) {
      reason = "the printer has not acknowledged the last " + std::to_string(missing) + " bytes of the job";
    }
    // Many printers never close their side.
    if (reason.empty()) return true;
    watch_.Fail(reason);
    SetLastError(error);
    return false;
  }

  bool Connect() {
    auto socket = std::make_shared<TcpSocket>();
    if (!socket->Connect(port_.host, port_.portNumber, &watch_)) {
      const DWORD error = GetLastError();
      socket.reset();
      SetLastError(error);
      return false;
    }
    socket_.Set(std::move(socket));
    return true;
  }

  Port port_;
  JobWatch watch_;
  OpenSlot<TcpSocket> socket_;
  std::atomic<DWORD> readTime_ = 0;
  std::atomic<DWORD> writeTime_ = 0;
};

}  // namespace

PortMonitor TcpPortMonitor() {
  MONITOR2* table = MonitorTable<TcpPort>::Get();
  return {table, table};
}

}  // namespace portwise
