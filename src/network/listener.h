#pragma once

#include <winsock2.h>

#include <atomic>

#include "core/socket_handle.h"
#include "core/synchronizer.h"

namespace portwise {

/// A TCP port at which clients are waited for. One thread uses it, but for End.
class Listener {
 public:
  /// `address` is in host byte order; 0 is every one of this computer. 0, or the WSA code of what failed.
  int Open(DWORD address, DWORD port);

  /// Waits for a client, without limit of time. False after End, and when the port can be listened at no more.
  bool Await();
  /// The next client that waits; the socket does not block. None with WSAEWOULDBLOCK when no more wait; after any other
  /// error the next call may do better.
  unique_socket Accept(SOCKADDR_IN* peer);
  /// Waits for as long, or until End.
  void Pause(DWORD milliseconds);

  /// Gives up the port; clients that wait are refused.
  void Close();

  /// Ends the waits for good. Any thread.
  void End();

 private:
  bool TryOpen(DWORD address, WORD port);

  std::atomic<bool> ended_{false};
  OCriticalSection endLock_;
  unique_socket_event shutdown_;  // changed under endLock_ once it may be set
  unique_socket_event accept_;
  unique_socket socket_;
};

}  // namespace portwise
