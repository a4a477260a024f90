#pragma once

#include <winsock2.h>

#include <memory>
#include <mutex>

#include "platform/kernel/wait_source.h"

namespace portwise::platform {

/// One stream socket's association with an event. An epoll descriptor watches the socket for the events that may be
/// reported next; what has been reported is not watched again until the call that enables it.
///
/// Any thread may call any function.
class EventSelection final : public WaitSource {
 public:
  /// `socket` must be an open stream socket; `events` are the FD_ bits to report through `event`.
  EventSelection(int socket, HANDLE event, LONG events);
  ~EventSelection() override;
  EventSelection(const EventSelection&) = delete;
  EventSelection& operator=(const EventSelection&) = delete;

  /// False when the system has no epoll descriptor left.
  bool Valid() const { return epoll_ >= 0; }
  HANDLE Event() const { return event_; }
  LONG Events() const { return events_; }

  int PollFd() const override { return epoll_; }
  bool OnReadable() override;

  /// Moves what has happened since the last call into `events`.
  void Take(WSANETWORKEVENTS* events);

  /// After connect: it succeeded or goes on.
  void OnConnect();
  void OnListen();
  /// After accept, whatever came of it: FD_ACCEPT may be reported again.
  void OnAccept();
  /// After recv: FD_READ may be reported again.
  void OnReceive();
  /// After send found no room: FD_WRITE may be reported again.
  void OnSendBlocked();
  /// The WSA code that ended the connection, which the selection consumed when it looked; 0 when none.
  int CloseError() const;
  /// Before the socket is closed: nothing is looked at from now on.
  void End();

 private:
  enum class Phase { kIdle, kConnecting, kConnected, kListening, kEnded };

  bool Collect();
  bool CollectReadable();
  void Record(int bit, int error);
  void Arm();

  const int socket_;
  const HANDLE event_;
  const LONG events_;
  int epoll_ = -1;

  mutable std::mutex mutex_;
  Phase phase_ = Phase::kIdle;
  bool watched_ = false;
  bool watchRead_ = false;
  bool watchWrite_ = false;
  bool watchAccept_ = false;
  bool readEnded_ = false;
  int closeError_ = 0;
  WSANETWORKEVENTS happened_ = {};
};

/// The socket's selection, or null.
std::shared_ptr<EventSelection> FindSelection(int socket);

/// Gives a stream socket, which does not block, a selection in place of the one that it has. 0, or SOCKET_ERROR with
/// the last error set.
int BeginSelection(int socket, HANDLE event, LONG events);

/// Ends the socket's selection, if it has one.
void EndSelection(int socket);

}  // namespace portwise::platform
