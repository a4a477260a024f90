#pragma once

#include <winsock2.h>

#include <atomic>
#include <functional>
#include <optional>

namespace portwise {

/// What the peer of a socket has acknowledged of the data.
struct Acknowledged {
  ULONGLONG bytes;
  bool all;   ///< and the end of the sending side
  bool over;  ///< there is no connection any more
};

/// Nothing where the system does not tell.
std::optional<Acknowledged> AskAcknowledged(SOCKET socket);

/// What ends a wait for the peer early.
struct CloseStop {
  const std::atomic<bool>& abort;  ///< looked at ten times a second at least
  std::function<bool()> isAsked;   ///< asked once a second, and not before the first is over unless the process ends
};

/// Waits until the peer has acknowledged all of `sent` bytes, which leaves the connection as it is. `ask` looks at the
/// socket, and says false when there is none any more. False when the connection is over, when the peer has
/// acknowledged nothing more for 5000 ms or not all in ten minutes, and when the wait was stopped. A system that does
/// not tell what is acknowledged is not waited for.
bool AwaitAcknowledged(const std::function<bool(std::optional<Acknowledged>*)>& ask, ULONGLONG sent,
                       const CloseStop& stop);

/// How the end of a connection went.
struct CloseResult {
  /// Bytes that were sent and not acknowledged; nothing where the system does not tell. What is acknowledged may still
  /// lie unread in the peer's memory.
  std::optional<ULONGLONG> unacknowledged;
  /// 0 when the peer closed its side in order and has acknowledged everything, as far as the system tells;
  /// WSAETIMEDOUT when it gave no sign for 5000 ms, or did not come to an end; ERROR_OPERATION_ABORTED when the wait
  /// was stopped; else the error that ended the connection.
  int error = 0;
  /// It was still talking when the wait was given up. What it says next will be answered with a reset.
  bool talking = false;
};

/// Ends the sending side of a socket that has sent `sent` bytes in all, and waits for the peer to close; what it still
/// sends is dropped. That its side is closed does not say that it has everything, so it must have acknowledged it as
/// well. The wait goes on while the peer gives signs at most 5000 ms apart: for ten minutes in all while it
/// acknowledges more within every minute, and for one minute while it only talks. With `brief`, 200 ms without a sign
/// are enough once everything is acknowledged. The caller closes the socket, and the system then goes on delivering
/// what it holds.
CloseResult CloseGracefully(SOCKET socket, ULONGLONG sent, bool brief, const CloseStop& stop);

/// What is still missing at the peer of a socket whose sending side was ended before: of `sent` bytes in all, the last
/// `counted` of which matter. All of those when the connection broke. Nothing where the system does not tell.
std::optional<ULONGLONG> AskMissing(SOCKET socket, ULONGLONG sent, ULONGLONG counted);

}  // namespace portwise
