#include "platform/sockets/event_selection.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <unordered_map>
#include <utility>

#include "platform/sockets/descriptor.h"
#include "platform/sockets/socket_errors.h"

namespace portwise::platform {
namespace {

constexpr int kWriteBit = 1;
constexpr int kConnectBit = 4;
constexpr LONG kSupported = FD_READ | FD_WRITE | FD_ACCEPT | FD_CONNECT | FD_CLOSE;

/// Sockets without a selection, which are most, cost one load a call.
struct SelectionTable {
  std::mutex mutex;
  std::unordered_map<int, std::shared_ptr<EventSelection>> bySocket;
  std::atomic<std::size_t> size = 0;
};

/// Never destroyed, because threads may still use sockets while the process ends.
SelectionTable& Table() {
  static SelectionTable& table = *new SelectionTable;
  return table;
}

int PendingError(int socket) {
  int error = 0;
  socklen_t size = sizeof error;
  return ::getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

bool IsListening(int socket) {
  int listening = 0;
  socklen_t size = sizeof listening;
  return ::getsockopt(socket, SOL_SOCKET, SO_ACCEPTCONN, &listening, &size) == 0 && listening != 0;
}

bool IsStream(int socket) {
  int type = 0;
  socklen_t size = sizeof type;
  if (::getsockopt(socket, SOL_SOCKET, SO_TYPE, &type, &size) != 0) {
    FailSocketCall(SocketErrorOf(errno));
    return false;
  }
  if (type != SOCK_STREAM) FailSocketCall(WSAEOPNOTSUPP);
  return type == SOCK_STREAM;
}

}  // namespace

EventSelection::EventSelection(int socket, HANDLE event, LONG events)
    : socket_(socket), event_(event), events_(events), epoll_(::epoll_create1(EPOLL_CLOEXEC)) {
  watchRead_ = (events & (FD_READ | FD_CLOSE)) != 0;
  watchWrite_ = (events & FD_WRITE) != 0;
  watchAccept_ = (events & FD_ACCEPT) != 0;
  // A socket that was never connected hangs up without its read side having ended; one that is still connecting does
  // neither and has no peer.
  pollfd state = {socket, POLLRDHUP, 0};
  ::poll(&state, 1, 0);
  sockaddr_storage peer;
  socklen_t size = sizeof peer;
  if (IsListening(socket)) {
    phase_ = Phase::kListening;
  } else if ((state.revents & POLLRDHUP) != 0 ||
             ::getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &size) == 0) {
    phase_ = Phase::kConnected;
  } else if ((state.revents & POLLHUP) == 0) {
    phase_ = Phase::kConnecting;
  }
  if (Valid()) Arm();
}

EventSelection::~EventSelection() {
  if (Valid()) ::close(epoll_);
}

bool EventSelection::OnReadable() {
  const std::lock_guard lock(mutex_);
  return Collect();
}

void EventSelection::Take(WSANETWORKEVENTS* events) {
  const std::lock_guard lock(mutex_);
  Collect();
  *events = std::exchange(happened_, {});
}

void EventSelection::OnConnect() {
  const std::lock_guard lock(mutex_);
  if (phase_ != Phase::kIdle) return;
  phase_ = Phase::kConnecting;
  Arm();
}

void EventSelection::OnListen() {
  const std::lock_guard lock(mutex_);
  if (phase_ != Phase::kIdle) return;
  phase_ = Phase::kListening;
  Arm();
}

void EventSelection::OnAccept() {
  const std::lock_guard lock(mutex_);
  watchAccept_ = (events_ & FD_ACCEPT) != 0;
  Arm();
}

void EventSelection::OnReceive() {
  const std::lock_guard lock(mutex_);
  if (readEnded_) return;
  watchRead_ = (events_ & (FD_READ | FD_CLOSE)) != 0;
  Arm();
}

void EventSelection::OnSendBlocked() {
  const std::lock_guard lock(mutex_);
  watchWrite_ = (events_ & FD_WRITE) != 0;
  Arm();
}

int EventSelection::CloseError() const {
  const std::lock_guard lock(mutex_);
  return closeError_;
}

void EventSelection::End() {
  const std::lock_guard lock(mutex_);
  phase_ = Phase::kEnded;
  Arm();
}

bool EventSelection::Collect() {
  epoll_event ready = {};
  if (phase_ == Phase::kEnded || ::epoll_wait(epoll_, &ready, 1, 0) != 1) return false;
  bool any = false;
  if (phase_ == Phase::kConnecting) {
    const int error = PendingError(socket_);
    phase_ = error == 0 ? Phase::kConnected : Phase::kIdle;
    any = (events_ & FD_CONNECT) != 0;
    if (any) Record(kConnectBit, error == 0 ? 0 : SocketErrorOf(error));
  }
  if (phase_ == Phase::kConnected) {
    if (watchWrite_ && (ready.events & (EPOLLOUT | EPOLLERR | EPOLLHUP)) != 0) {
      watchWrite_ = false;
      Record(kWriteBit, 0);
      any = true;
    }
    if ((ready.events & (EPOLLIN | EPOLLRDHUP | EPOLLERR | EPOLLHUP)) != 0) any |= CollectReadable();
  }
  if (phase_ == Phase::kListening && watchAccept_ && (ready.events & EPOLLIN) != 0) {
    watchAccept_ = false;
    Record(FD_ACCEPT_BIT, 0);
    any = true;
  }
  Arm();
  return any;
}

bool EventSelection::CollectReadable() {
  if (!watchRead_) return false;
  char byte;
  const ssize_t peeked = ::recv(socket_, static_cast<void*>(&byte), 1, MSG_PEEK | MSG_DONTWAIT);
  if (peeked < 0 && (errno == EAGAIN || errno == EINTR)) return false;
  watchRead_ = false;
  if (peeked > 0) {
    // Even where only the close is asked for, it waits until what came before it has been read.
    if ((events_ & FD_READ) != 0) Record(FD_READ_BIT, 0);
    return (events_ & FD_READ) != 0;
  }
  readEnded_ = true;
  if (peeked < 0) closeError_ = SocketErrorOf(errno);
  if ((events_ & FD_CLOSE) != 0) Record(FD_CLOSE_BIT, closeError_);
  return (events_ & FD_CLOSE) != 0;
}

void EventSelection::Record(int bit, int error) {
  happened_.lNetworkEvents |= 1 << bit;
  happened_.iErrorCode[bit] = error;
}

/// Errors and hang-ups cannot be left out of a watch, so a socket with nothing to report is not watched at all.
void EventSelection::Arm() {
  epoll_event watch = {};
  if (phase_ == Phase::kConnecting) watch.events = EPOLLOUT;
  if (phase_ == Phase::kListening && watchAccept_) watch.events = EPOLLIN;
  if (phase_ == Phase::kConnected) {
    if (watchRead_) watch.events |= EPOLLIN | EPOLLRDHUP;
    if (watchWrite_) watch.events |= EPOLLOUT;
  }
  const bool wanted = watch.events != 0;
  watch.events |= EPOLLONESHOT;
  if (wanted) {
    ::epoll_ctl(epoll_, watched_ ? EPOLL_CTL_MOD : EPOLL_CTL_ADD, socket_, &watch);
  } else if (watched_) {
    ::epoll_ctl(epoll_, EPOLL_CTL_DEL, socket_, nullptr);
  }
  watched_ = wanted;
}

std::shared_ptr<EventSelection> FindSelection(int socket) {
  SelectionTable& table = Table();
  if (table.size.load(std::memory_order_acquire) == 0) return nullptr;
  const std::lock_guard lock(table.mutex);
  const auto found = table.bySocket.find(socket);
  return found == table.bySocket.end() ? nullptr : found->second;
}

int BeginSelection(int socket, HANDLE event, LONG events) {
  EndSelection(socket);
  auto selection = std::make_shared<EventSelection>(socket, event, events);
  if (!selection->Valid()) return FailSocketCall(WSAENOBUFS);
  SelectionTable& table = Table();
  {
    const std::lock_guard lock(table.mutex);
    table.bySocket[socket] = selection;
    table.size.store(table.bySocket.size(), std::memory_order_release);
  }
  if (AttachWaitSource(event, selection)) return 0;
  EndSelection(socket);
  return FailSocketCall(WSAEINVAL);
}

void EndSelection(int socket) {
  SelectionTable& table = Table();
  std::shared_ptr<EventSelection> selection;
  {
    const std::lock_guard lock(table.mutex);
    const auto found = table.bySocket.find(socket);
    if (found == table.bySocket.end()) return;
    selection = std::move(found->second);
    table.bySocket.erase(found);
    table.size.store(table.bySocket.size(), std::memory_order_release);
  }
  selection->End();
  // The event may have been closed before the socket, which is no failure of this call.
  const DWORD error = GetLastError();
  DetachWaitSource(selection->Event(), selection.get());
  SetLastError(error);
}

}  // namespace portwise::platform

using namespace portwise::platform;

int WINAPI WSAEventSelect(SOCKET socket, WSAEVENT event, LONG events) {
  const int descriptor = DescriptorOf(socket);
  if (descriptor < 0 || !IsStream(descriptor)) return SOCKET_ERROR;
  if (events == 0) {
    EndSelection(descriptor);
    return 0;
  }
  if ((events & ~kSupported) != 0) return FailSocketCall(WSAEOPNOTSUPP);
  const int flags = ::fcntl(descriptor, F_GETFL);
  if (flags < 0 || ::fcntl(descriptor, F_SETFL, flags | O_NONBLOCK) < 0) return FailSocketCall(SocketErrorOf(errno));
  return BeginSelection(descriptor, event, events);
}

int WINAPI WSAEnumNetworkEvents(SOCKET socket, WSAEVENT event, WSANETWORKEVENTS* events) {
  const int descriptor = DescriptorOf(socket);
  if (descriptor < 0 || !IsStream(descriptor)) return SOCKET_ERROR;
  if (events == nullptr) return FailSocketCall(WSAEFAULT);
  // The event first: what happens between the two steps is then either taken now or signalled again.
  if (event != nullptr && !ResetEvent(event)) return FailSocketCall(WSAEINVAL);
  *events = {};
  if (const auto selection = FindSelection(descriptor)) selection->Take(events);
  return 0;
}
