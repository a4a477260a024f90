#pragma once

#include <ws2tcpip.h>

#include <string>

#include "host/monitors/job_watch.h"

namespace portwise {

/// A TCP connection to a printer; its socket never blocks. Failures leave the WSA error in the last error, a wait that
/// the watch ended leaves ERROR_PRINT_CANCELLED. One thread may receive while another one sends.
class TcpSocket {
 public:
  TcpSocket();
  ~TcpSocket();
  TcpSocket(const TcpSocket&) = delete;
  TcpSocket& operator=(const TcpSocket&) = delete;

  /// Looks the host up and tries its addresses, each for up to 10 seconds. Once for each object.
  bool Connect(const std::string& host, DWORD port, JobWatch* watch);

  /// Sends what the system takes at once; waits for room for at most `milliseconds`, then fails with WSAETIMEDOUT and
  /// stays connected.
  bool Send(const void* data, DWORD size, DWORD milliseconds, JobWatch* watch, DWORD* sent);

  /// Takes what has come; waits for it for at most `milliseconds`, then fails with WSAETIMEDOUT. 0 bytes are the end of
  /// what the printer sends.
  bool Receive(void* buffer, DWORD size, DWORD milliseconds, JobWatch* watch, DWORD* received);

  /// Says that no more comes.
  bool EndSending();

  /// Ends the connection at once, so that the other side sees that it was broken off.
  void Reset();

  /// Says that no more comes, and drops what the printer still sends until it has acknowledged everything and closed
  /// its side: closing at once, with something of the printer unread, would reset the connection and lose data on its
  /// way. False when it broke off, and with WSAETIMEDOUT when `milliseconds` passed in which it acknowledged nothing
  /// more.
  bool FinishSending(DWORD milliseconds, JobWatch* watch);

  /// Bytes that the printer has not acknowledged; 0 where the system does not tell.
  ULONGLONG Unacknowledged() const;

 private:
  bool ConnectTo(const addrinfo& address, JobWatch* watch);
  bool Wait(SHORT events, DWORD milliseconds, JobWatch* watch);
  void Close();

  SOCKET socket_ = INVALID_SOCKET;
  ULONGLONG sent_ = 0;  // bytes
};

}  // namespace portwise
