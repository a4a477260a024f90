#pragma once

#include <winsock2.h>

#include <atomic>
#include <optional>

namespace portwise {

/// How the end of a connection went.
struct CloseResult {
  /// Bytes that were sent and not acknowledged; nothing where the system does not tell. What is acknowledged may still
  /// lie unread in the peer's memory.
  std::optional<ULONGLONG> unacknowledged;
  /// 0 when the peer closed its side in order and has acknowledged everything, as far as the system tells;
  /// WSAETIMEDOUT when it gave no sign for 5000 ms, or did not come to an end; else the error that ended the
  /// connection.
  int error = 0;
  /// It was still talking when the wait was given up. What it says next will be answered with a reset.
  bool talking = false;
};

/// Ends the sending side of a socket that has sent `sent` bytes in all, and waits for the peer to close; what it still
/// sends is dropped. That its side is closed does not say that it has everything, so it must have acknowledged it as
/// well. The wait goes on while the peer gives signs: for ten minutes while it acknowledges more, for one while it only
/// talks. The caller closes the socket, and the system then goes on delivering what it holds. The error is
/// ERROR_OPERATION_ABORTED soon after `abort` is set.
CloseResult CloseGracefully(SOCKET socket, ULONGLONG sent, const std::atomic<bool>& abort);

}  // namespace portwise
