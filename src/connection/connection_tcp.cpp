#include "connection/connection_tcp.h"

#include <algorithm>
#include <climits>
#include <utility>

#include "connection/ping.h"
#include "settings/printer_registry.h"
#include "settings/settings_catalogue.h"

namespace portwise {
namespace {

constexpr int kConnectAttempts = 3;
constexpr DWORD kRetryPause = 100;       // ms
constexpr DWORD kReceiveTimeout = 1000;  // ms
constexpr INT kWriteSlice = 1000;        // ms
constexpr INT kFirstByteWait = 1000;     // ms
constexpr INT kNextByteWait = 200;       // ms
constexpr DWORD kReopenPause = 100;      // ms after a connection that was lost did not come back
constexpr DWORD kAbortSlice = 100;       // ms until a wait looks whether it has been aborted
constexpr DWORD kPingPause = 2000;       // ms for which the answer to a ping counts
constexpr DWORD kPingTimeout = 5000;     // ms
constexpr DWORD kPeriodPause = 5000;     // ms for which the period that was read counts

/// Errors of a connect that may pass by themselves.
constexpr int kRetriedErrors[] = {WSAEINTR, WSAEWOULDBLOCK, WSAEINPROGRESS, WSAECONNABORTED, WSAECONNREFUSED};

bool IsRetried(int error) {
  return std::find(std::begin(kRetriedErrors), std::end(kRetriedErrors), error) != std::end(kRetriedErrors);
}

int LengthOf(DWORD size) { return static_cast<int>(std::min<DWORD>(size, INT_MAX)); }

/// Is counted for as long as it lives.
class Ending {
 public:
  explicit Ending(std::atomic<int>* count) : count_(count) { ++*count_; }
  Ending(const Ending&) = delete;
  Ending& operator=(const Ending&) = delete;
  ~Ending() { --*count_; }

 private:
  std::atomic<int>* const count_;
};

/// What to tell of a printer that has not closed in time.
OString SilenceWarning(const CloseResult& result, ULONGLONG sent) {
  if (!result.unacknowledged) {
    return "The printer did not close the connection. It is not known whether it has everything; the system goes on "
           "delivering what it holds.";
  }
  return "The printer has not acknowledged " + OString::FromUnsigned(*result.unacknowledged) + " of the " +
         OString::FromUnsigned(sent) + " bytes that the connection took; the system goes on delivering what it holds.";
}

}  // namespace

Connection_TCP::Connection_TCP() : Connection(ConnectionKind::Tcp) {}

Connection_TCP::~Connection_TCP() {
  delayedClose_.Cancel();
  if (connected_) CloseNow();
}

bool Connection_TCP::Open() { return OpenChannel(false); }

bool Connection_TCP::OpenStatus() { return OpenChannel(true); }

bool Connection_TCP::OpenChannel(bool statusChannel) {
  if (aborted_) return FailAborted();
  statusChannel_ = statusChannel;
  const Target target = FindTarget(statusChannel);
  if (target.changed || PeerHasClosed()) CloseNow();
  delayedClose_.Cancel();
  if (target.lookUpError != 0) {
    SetLastError(target.lookUpError);
    return false;
  }

  const OScopedLock state(stateLock_);
  if (connected_) return true;
  if (!ConnectSocket(target.address)) return false;
  const OScopedLock lock(socketLock_);
  if (aborted_) return FailAborted();
  connected_ = true;
  return true;
}

bool Connection_TCP::Close() {
  statusChannel_ = false;
  if (KeepOpen() && ClosePeriod() > 0 && HasEverything() && delayedClose_.Start(Port().Faults())) return true;
  return CloseNow();
}

bool Connection_TCP::CloseChannel() {
  statusChannel_ = false;
  {
    // Before the first byte of a job there is nothing to wait for.
    const OScopedLock lock(socketLock_);
    if (sent_ == 0) carriesJob_ = false;
  }
  return CloseNow();
}

/// Once the connection stays open nobody asks any more what became of the job.
bool Connection_TCP::HasEverything() {
  ULONGLONG sent = 0;
  {
    const OScopedLock lock(socketLock_);
    sent = sent_;
  }
  const auto ask = [this](std::optional<Acknowledged>* now) {
    const OScopedLock lock(socketLock_);
    if (!connected_ || !socket_) return false;
    *now = AskAcknowledged(socket_.Get());
    return true;
  };
  const Ending ending(&endings_);
  return AwaitAcknowledged(ask, sent, Stop());
}

CloseStop Connection_TCP::Stop() {
  return {aborted_, [this] { return Port().IsClosing() || Port().JobIsDeleted(); }};
}

/// Outside of documents the wait goes on: there nobody else would close the connection.
void Connection_TCP::KeepForDocument() {
  if (!delayedClose_.IsWaiting() || !Port().HasDocument()) return;
  delayedClose_.Cancel();
  if (PeerHasClosed()) CloseNow();
}

void Connection_TCP::Abort() {
  aborted_ = true;
  delayedClose_.RequestCancel();
  const OScopedLock lock(socketLock_);
  if (connected_) CountAsLost();
  connected_ = false;
  socket_.Reset();
}

bool Connection_TCP::StartDoc(DWORD, DWORD, LPBYTE) { return Open(); }

void Connection_TCP::BeginCount() {
  const OScopedLock lock(socketLock_);
  taken_ = 0;
  carriesJob_ = true;
}

bool Connection_TCP::EndDoc() { return Close(); }

bool Connection_TCP::Write(const void* data, DWORD length, DWORD* written) {
  *written = 0;
  if (aborted_) return FailAborted();
  KeepForDocument();
  if (!connected_ && !Reopen()) {
    if (aborted_) return FailAborted();
    // The caller tries again at once, for as long as its send timeout lasts.
    const DWORD error = GetLastError();
    Sleep(kReopenPause);
    SetLastError(error);
    return false;
  }
  const auto* bytes = static_cast<const char*>(data);
  int sent = 0;
  Transfer transfer = SendOnce(bytes, LengthOf(length), &sent);
  if (transfer == Transfer::kWouldBlock && AwaitSocket(POLLOUT, kWriteSlice) != 0) {
    transfer = SendOnce(bytes, LengthOf(length), &sent);
  }
  *written = static_cast<DWORD>(sent);
  if (aborted_) return FailAborted();
  if (transfer == Transfer::kWouldBlock) {
    WSASetLastError(WSAEWOULDBLOCK);
    return false;
  }
  if (transfer == Transfer::kFailed) {
    CloseAfter(WSAGetLastError());
    return false;
  }
  return true;
}

bool Connection_TCP::Read(void* buffer, DWORD size, DWORD* read) {
  *read = 0;
  if (aborted_) return FailAborted();
  KeepForDocument();
  if (!connected_ && !Reopen()) return false;
  auto* bytes = static_cast<char*>(buffer);
  bool failed = false;
  int ready = AwaitSocket(POLLIN, kFirstByteWait);
  while (ready > 0 && *read < size) {
    int received = 0;
    const Transfer transfer = ReceiveOnce(bytes + *read, LengthOf(size - *read), 0, &received);
    failed = transfer == Transfer::kFailed;
    // Nothing received is the end of what the printer sends; it may still take data.
    if (failed || (transfer == Transfer::kDone && received == 0)) break;
    *read += static_cast<DWORD>(received);
    if (*read < size) ready = AwaitSocket(POLLIN, kNextByteWait);
  }
  if (aborted_) return FailAborted();
  if (failed || ready < 0) CloseAfter(WSAGetLastError());
  return *read > 0;
}

DWORD Connection_TCP::GetStatus(DWORD mask) {
  if (!(mask & STATUS_DISCONNECTED) || connected_) return 0;
  if (aborted_) {
    FailAborted();
    return STATUS_DISCONNECTED;
  }
  const OScopedLock lock(pingLock_);
  if (!pinged_ || GetTickCount() - pingedAt_ > kPingPause) {
    pingAnswered_ = Ping(FindHost(), 1, kPingTimeout) || CanConnect();
    pinged_ = true;
    pingedAt_ = GetTickCount();
  }
  return pingAnswered_ ? 0 : STATUS_DISCONNECTED;
}

/// A printer that takes one connection at a time must not be left with one that nobody closes.
bool Connection_TCP::CanConnect() {
  if (!Reopen()) return false;
  if (!Port().HasDocument()) CloseNow();
  return true;
}

bool Connection_TCP::RefreshAddress(bool statusChannel) { return FindTarget(statusChannel).changed; }

Connection_TCP::Target Connection_TCP::FindTarget(bool statusChannel) {
  const OScopedLock lock(addressLock_);
  PortAddress now;
  ReadPortAddress(Port().PortName(), &now);
  if (statusChannel) ++now.portNumber;
  Target target = {};
  target.changed = now != registered_;
  registered_ = now;
  target.lookUpError = lookUp_.Find(now, target.changed);
  target.address.sin_family = AF_INET;
  target.address.sin_port = htons(static_cast<WORD>(now.portNumber));
  target.address.sin_addr = lookUp_.Host();
  return target;
}

/// While a printer cannot be reached nobody opens the connection, and a new address would not be seen. What the
/// connection is open to stays as it is: the next open is to find the address changed.
IN_ADDR Connection_TCP::FindHost() {
  const OScopedLock lock(addressLock_);
  PortAddress now;
  ReadPortAddress(Port().PortName(), &now);
  lookUp_.Find(now, false);
  return lookUp_.Host();
}

std::optional<PortAddress> Connection_TCP::NetworkAddress() const {
  const OScopedLock lock(addressLock_);
  return registered_;
}

/// The setting counts from the next close on; it is read again at most every five seconds.
DWORD Connection_TCP::ClosePeriod() {
  const OScopedLock lock(periodLock_);
  if (!periodKnown_ || GetTickCount() - periodReadAt_ >= kPeriodPause) {
    const Setting& setting = FindSetting(SettingId::TcpDelayedClosePeriod);
    closePeriod_ = PrinterRegistry(Port().JobPrinter()).GetDword(setting.path, setting.number);
    periodKnown_ = true;
    periodReadAt_ = GetTickCount();
  }
  return closePeriod_;
}

bool Connection_TCP::CloseNow() {
  delayedClose_.RequestClose();
  const OScopedLock state(stateLock_);
  unique_socket closing;
  ULONGLONG sent;
  bool brief;
  {
    const OScopedLock lock(socketLock_);
    if (aborted_ || !connected_) return true;
    connected_ = false;
    closing = std::move(socket_);
    sent = sent_;
    // Some printers never close their side, and are asked for their status every few seconds.
    brief = !carriesJob_;
  }
  return GracefulClose(std::move(closing), sent, brief);
}

/// What the connection has taken may not have reached the printer.
void Connection_TCP::CountAsLost() { unconfirmed_ += taken_.exchange(0); }

void Connection_TCP::CloseAfter(int error) {
  {
    // When a close has overtaken the call, it knows better how the connection ended.
    const OScopedLock lock(socketLock_);
    if (socket_) CountAsLost();
  }
  CloseNow();
  WSASetLastError(error);
}

bool Connection_TCP::FailAborted() {
  SetLastError(ERROR_OPERATION_ABORTED);
  return false;
}

bool Connection_TCP::ConnectSocket(const SOCKADDR_IN& address) {
  for (int attempt = 0; attempt < kConnectAttempts; ++attempt) {
    if (attempt > 0) Sleep(kRetryPause);
    if (ConnectOnce(address)) return true;
    const int error = WSAGetLastError();
    const OScopedLock lock(socketLock_);
    socket_.Reset();
    WSASetLastError(error);
    if (aborted_ || !IsRetried(error)) return false;
  }
  return false;
}

/// Every attempt has a socket of its own, because one that failed to connect is not the same on all systems. The
/// socket does not block from the first on, so that an abort never waits for a printer that does not answer.
bool Connection_TCP::ConnectOnce(const SOCKADDR_IN& address) {
  {
    const OScopedLock lock(socketLock_);
    if (aborted_) return FailAborted();
    socket_ = NewTcpSocket();
    if (!socket_) return false;
    sent_ = 0;
    carriesJob_ = false;
    ULONG nonBlocking = 1;
    const DWORD timeout = kReceiveTimeout;
    if (setsockopt(socket_.Get(), SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&timeout), sizeof timeout) !=
            0 ||
        ioctlsocket(socket_.Get(), static_cast<LONG>(FIONBIO), &nonBlocking) != 0) {
      return false;
    }
    if (connect(socket_.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return true;
    if (WSAGetLastError() != WSAEWOULDBLOCK) return false;
  }
  return AwaitConnect();
}

/// How long a printer may stay silent is the system's to say. Some systems' WSAPoll does not tell of a connect that
/// failed, so the socket's error is asked for after every slice.
bool Connection_TCP::AwaitConnect() {
  while (true) {
    const int ready = AwaitSocket(POLLOUT, static_cast<INT>(kAbortSlice));
    if (ready < 0) return aborted_ ? FailAborted() : false;
    const OScopedLock lock(socketLock_);
    if (aborted_) return FailAborted();
    int error = 0;
    int size = sizeof error;
    if (getsockopt(socket_.Get(), SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error), &size) != 0) return false;
    WSASetLastError(error);
    if (error != 0) return false;
    if (ready > 0) return true;
    if (Port().IsClosing()) return FailAborted();
  }
}

ULONGLONG Connection_TCP::Delivery::Missing() const {
  return AskMissing(socket.Get(), sent, counted).value_or(missing);
}

/// A printer that is out of paper takes the rest once it has some.
void Connection_TCP::KeepDelivering(Delivery delivery) {
  const OScopedLock lock(socketLock_);
  deliveries_.erase(std::remove_if(deliveries_.begin(), deliveries_.end(),
                                   [](const Delivery& earlier) { return earlier.Missing() == 0; }),
                    deliveries_.end());
  deliveries_.push_back(std::move(delivery));
}

ULONGLONG Connection_TCP::TakeUnconfirmedBytes() {
  std::vector<Delivery> deliveries;
  {
    const OScopedLock lock(socketLock_);
    deliveries.swap(deliveries_);
  }
  ULONGLONG missing = unconfirmed_.exchange(0);
  for (const Delivery& delivery : deliveries) missing += delivery.Missing();
  return missing;
}

bool Connection_TCP::GracefulClose(unique_socket socket, ULONGLONG sent, bool brief) {
  CloseResult result;
  try {
    const Ending ending(&endings_);
    result = CloseGracefully(socket.Get(), sent, brief, Stop());
  } catch (...) {
    CountAsLost();
    throw;
  }
  const bool timedOut = result.error == WSAETIMEDOUT;
  const bool stopped = result.error == ERROR_OPERATION_ABORTED;
  const bool printed = taken_ > 0;
  if (result.error != 0 && !stopped && (!timedOut || result.talking)) {
    // What a reset finds unread at the printer is lost as well, acknowledged or not.
    CountAsLost();
  } else {
    // The last ones that the connection took are those that are missing. Where nobody tells, silence counts as done.
    const ULONGLONG taken = taken_.exchange(0);
    const ULONGLONG missing = std::min(taken, result.unacknowledged.value_or(stopped ? taken : 0));
    if (timedOut && missing > 0) {
      try {
        KeepDelivering({std::move(socket), sent, taken, missing});
      } catch (...) {
        unconfirmed_ += missing;
        throw;
      }
    } else {
      unconfirmed_ += missing;
    }
  }
  if (timedOut && printed && result.unacknowledged != ULONGLONG{0}) Port().Warn(SilenceWarning(result, sent));
  WSASetLastError(result.error);
  return result.error == 0;
}

bool Connection_TCP::PeerHasClosed() {
  if (!connected_) return false;
  WSAPOLLFD state = {};
  {
    const OScopedLock lock(socketLock_);
    if (!socket_) return false;
    state.fd = socket_.Get();
  }
  state.events = POLLIN;
  if (WSAPoll(&state, 1, 0) > 0 && (state.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0) return true;
  // Not every system tells of an orderly end that way while the printer's last words are still unread.
  char byte;
  int received = 0;
  const Transfer transfer = ReceiveOnce(&byte, 1, MSG_PEEK, &received);
  return transfer == Transfer::kFailed || (transfer == Transfer::kDone && received == 0);
}

Connection_TCP::Transfer Connection_TCP::SendOnce(const char* data, int length, int* sent) {
  const OScopedLock lock(socketLock_);
  const int result = send(socket_.Get(), data, length, 0);
  if (result >= 0) {
    *sent = result;
    if (CountsAsPrintData()) {
      taken_ += static_cast<ULONGLONG>(result);
      carriesJob_ = true;
    }
    sent_ += static_cast<ULONGLONG>(result);
    return Transfer::kDone;
  }
  return WSAGetLastError() == WSAEWOULDBLOCK ? Transfer::kWouldBlock : Transfer::kFailed;
}

Connection_TCP::Transfer Connection_TCP::ReceiveOnce(char* buffer, int size, int flags, int* received) {
  const OScopedLock lock(socketLock_);
  const int result = recv(socket_.Get(), buffer, size, flags);
  if (result >= 0) {
    *received = result;
    return Transfer::kDone;
  }
  return WSAGetLastError() == WSAEWOULDBLOCK ? Transfer::kWouldBlock : Transfer::kFailed;
}

int Connection_TCP::AwaitSocket(SHORT events, INT milliseconds) {
  WSAPOLLFD wait = {};
  {
    const OScopedLock lock(socketLock_);
    wait.fd = socket_.Get();
    if (!socket_) {
      WSASetLastError(WSAENOTSOCK);
      return -1;
    }
  }
  wait.events = events;
  return WSAPoll(&wait, 1, milliseconds);
}

}  // namespace portwise
