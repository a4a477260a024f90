#pragma once

#include <functional>
#include <optional>
#include <string>

#include "host/monitors/job_watch.h"
#include "host/monitors/tcp_socket.h"

namespace portwise {

/// What a line printer daemon is told of a job.
struct LprJob {
  std::string queue;
  DWORD number = 0;      ///< its last three digits are used
  std::string computer;  ///< where the job comes from
  std::string user;
  std::string document;

  /// The name of the job's control file ('c') or data file ('d').
  std::string FileName(char kind) const;
  /// The control file: the job is one file that is printed byte by byte as it is.
  std::string ControlFile() const;
};

/// One job on its way to a line printer daemon (RFC 1179), over a connection of its own. The control file goes first,
/// so that the job is whole for the daemon with the last byte of its data. One thread.
///
/// What fails leaves the reason in Fault and the last error: ERROR_PRINTQ_FULL when the daemon refused, else the
/// socket's. The session is then of no more use.
class LprSession {
 public:
  /// `watch` must outlive the session.
  LprSession(std::string host, DWORD port, JobWatch* watch);

  /// Connects, announces the job and sends the control file, and then announces the data: `size` bytes, or as many as
  /// come until the connection ends when that is not known.
  bool Begin(const LprJob& job, std::optional<unsigned long long> size);

  /// Sends data that the daemon takes at once; waits for room for at most `milliseconds`, then fails with WSAETIMEDOUT,
  /// after which the session goes on.
  bool Send(const BYTE* data, DWORD size, DWORD milliseconds, DWORD* sent);

  /// Ends data of a known size, and waits for the daemon's word that it has the job.
  bool EndCounted();
  /// Ends data of unknown size by ending the connection. Not every daemon answers to that: an orderly end counts.
  bool EndUncounted();

  /// Breaks the connection off, so that the daemon does not take what it has for the whole job.
  void Abandon() { socket_.Reset(); }

  const std::string& Fault() const { return fault_; }

 private:
  bool Transmit(const std::string& bytes, const std::string& what);
  bool AwaitWord(const std::string& what, DWORD milliseconds, bool endCounts = false);
  bool FailWith(const std::string& what);

  std::string host_;
  DWORD port_;
  JobWatch* watch_;
  TcpSocket socket_;
  std::string fault_;
};

}  // namespace portwise
