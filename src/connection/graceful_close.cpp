#include "connection/graceful_close.h"

#include <mstcpip.h>

#include <algorithm>

#include "core/process_end.h"
#include "core/socket_handle.h"

namespace portwise {
namespace {

constexpr DWORD kSilence = 5000;            // ms without a sign of the peer
constexpr DWORD kBriefSilence = 200;        // ms, where nothing can be lost any more
constexpr DWORD kLongestTalk = 60000;       // ms, for a peer that talks on and takes nothing
constexpr DWORD kLongestDelivery = 600000;  // ms, for one that takes a little now and then
constexpr DWORD kSlice = 100;               // ms until the wait looks at the abort and at what was acknowledged
constexpr DWORD kAskPause = 1000;           // ms between questions whether the wait is to stop
constexpr int kDrainTimes = 256;            // between looks at what else happened
constexpr LONG kEvents = FD_READ | FD_CLOSE;

/// Drops what has arrived, as much at once as keeps a peer that sends megabytes from waiting for room. False on an
/// error other than that there is nothing.
bool Drain(SOCKET socket) {
  char dropped[1024];
  int received = 1;
  for (int times = 0; times < kDrainTimes && received > 0; ++times) {
    received = recv(socket, dropped, static_cast<int>(sizeof dropped), 0);
  }
  return received >= 0 || WSAGetLastError() == WSAEWOULDBLOCK;
}

int ErrorOf(SOCKET socket) {
  int error = 0;
  int size = sizeof error;
  return getsockopt(socket, SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error), &size) == 0 ? error
                                                                                               : WSAGetLastError();
}

/// Whether a wait is to stop.
class StopWatch {
 public:
  explicit StopWatch(const CloseStop& stop) : stop_(stop), askedAt_(GetTickCount()) {}

  bool MustStop() {
    if (stop_.abort) return true;
    const DWORD now = GetTickCount();
    if (now - askedAt_ < kAskPause && !ProcessIsEnding()) return false;
    askedAt_ = now;
    return stop_.isAsked();
  }

 private:
  const CloseStop& stop_;
  DWORD askedAt_;  // tick count
};

class Closing {
 public:
  Closing(SOCKET socket, ULONGLONG sent, bool brief) : socket_(socket), sent_(sent), brief_(brief) {}

  CloseResult Run(const CloseStop& stop) {
    StopWatch watch(stop);
    begin_ = lastWord_ = lastProgress_ = GetTickCount();
    const bool begun = event_ && WSAEventSelect(socket_, event_.Get(), kEvents) == 0 && shutdown(socket_, SD_SEND) == 0;
    bool goesOn = begun || FailToBegin(WSAGetLastError());
    while (goesOn)
      goesOn = watch.MustStop() ? Fail(ERROR_OPERATION_ABORTED) : TakeEvents() && LookAtAcknowledged() && HasTime();
    return result_;
  }

 private:
  // Each says whether the wait goes on.

  bool Fail(int error) {
    result_.error = error;
    return false;
  }

  /// That a connection is gone says less than why.
  bool FailToBegin(int error) {
    const int reason = ErrorOf(socket_);
    return Fail(reason != 0 ? reason : error);
  }

  bool TakeEvents() {
    const WSAEVENT event = event_.Get();
    WSANETWORKEVENTS happened = {};
    if (WSAWaitForMultipleEvents(1, &event, FALSE, kSlice, FALSE) == WSA_WAIT_FAILED ||
        WSAEnumNetworkEvents(socket_, event, &happened) != 0) {
      return Fail(WSAGetLastError());
    }
    if ((happened.lNetworkEvents & FD_CLOSE) != 0) {
      if (happened.iErrorCode[FD_CLOSE_BIT] != 0) return Fail(happened.iErrorCode[FD_CLOSE_BIT]);
      closed_ = true;
      lastProgress_ = GetTickCount();
    }
    if ((happened.lNetworkEvents & FD_READ) != 0) {
      if (!Drain(socket_)) return Fail(WSAGetLastError());
      lastWord_ = GetTickCount();
    }
    return true;
  }

  bool LookAtAcknowledged() {
    const std::optional<Acknowledged> now = AskAcknowledged(socket_);
    result_.unacknowledged.reset();
    if (now) {
      if (now->bytes > acknowledged_) lastProgress_ = GetTickCount();
      acknowledged_ = now->bytes;
      result_.unacknowledged = now->all ? 0 : sent_ - std::min(sent_, now->bytes);
      if (now->over && *result_.unacknowledged > 0) return Fail(WSAECONNRESET);
    }
    if (!closed_) return true;
    // The close is told once; a reset after it only here.
    if (const int error = ErrorOf(socket_)) return Fail(error);
    return result_.unacknowledged.value_or(0) > 0;
  }

  bool HasTime() {
    const DWORD now = GetTickCount();
    // Who has everything may talk on: nothing can be lost any more.
    const bool done = brief_ && result_.unacknowledged == ULONGLONG{0};
    const DWORD silence = done ? kBriefSilence : kSilence;
    const bool silent = (done || now - lastWord_ >= silence) && now - lastProgress_ >= silence;
    if (!silent && now - lastProgress_ < kLongestTalk && now - begin_ < kLongestDelivery) return true;
    result_.talking = !closed_ && now - lastWord_ < silence;
    return Fail(WSAETIMEDOUT);
  }

  const SOCKET socket_;
  const ULONGLONG sent_;
  const bool brief_;
  const unique_socket_event event_{WSACreateEvent()};
  CloseResult result_;
  bool closed_ = false;  // by the peer, in order
  ULONGLONG acknowledged_ = 0;
  // Tick counts.
  DWORD begin_ = 0;
  DWORD lastWord_ = 0;      // data came
  DWORD lastProgress_ = 0;  // more was acknowledged, or the peer closed
};

}  // namespace

std::optional<Acknowledged> AskAcknowledged(SOCKET socket) {
  DWORD version = 0;
  DWORD size = 0;
  TCP_INFO_v0 info = {};
  if (WSAIoctl(socket, SIO_TCP_INFO, &version, sizeof version, &info, sizeof info, &size, nullptr, nullptr) != 0) {
    return std::nullopt;
  }
  return Acknowledged{info.BytesOut - info.BytesRetrans - info.BytesInFlight,
                      info.State == TCPSTATE_FIN_WAIT_2 || info.State == TCPSTATE_TIME_WAIT,
                      info.State == TCPSTATE_CLOSED};
}

bool AwaitAcknowledged(const std::function<bool(std::optional<Acknowledged>*)>& ask, ULONGLONG sent,
                       const CloseStop& stop) {
  StopWatch watch(stop);
  const DWORD begin = GetTickCount();
  DWORD lastProgress = begin;
  ULONGLONG acknowledged = 0;
  // Most printers acknowledge within a few milliseconds, and the next job waits.
  for (DWORD pause = 1;; pause = std::min(2 * pause, kSlice)) {
    std::optional<Acknowledged> now;
    if (!ask(&now)) return false;
    if (!now) return true;
    if (now->over) return false;
    if (now->bytes >= sent) return true;
    const DWORD tick = GetTickCount();
    if (now->bytes > acknowledged) lastProgress = tick;
    acknowledged = now->bytes;
    if (watch.MustStop() || tick - lastProgress >= kSilence || tick - begin >= kLongestDelivery) return false;
    Sleep(pause);
  }
}

std::optional<ULONGLONG> AskMissing(SOCKET socket, ULONGLONG sent, ULONGLONG counted) {
  const std::optional<Acknowledged> now = AskAcknowledged(socket);
  if (!now) return std::nullopt;
  const ULONGLONG missing = now->all ? 0 : sent - std::min(sent, now->bytes);
  const bool broken = ErrorOf(socket) != 0 || (now->over && missing > 0);
  return broken ? counted : std::min(counted, missing);
}

CloseResult CloseGracefully(SOCKET socket, ULONGLONG sent, bool brief, const CloseStop& stop) {
  return Closing(socket, sent, brief).Run(stop);
}

}  // namespace portwise
