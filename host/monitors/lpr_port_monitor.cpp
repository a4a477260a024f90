#include "host/monitors/lpr_port_monitor.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <vector>

#include "host/monitors/fail_slowly.h"
#include "host/monitors/lpr_session.h"
#include "host/monitors/monitor_table.h"
#include "host/monitors/spool_file.h"

namespace portwise {

namespace {

constexpr DWORD kDefaultWriteTime = 10000;  // ms
constexpr DWORD kLongestTime = 600000;      // ms
constexpr DWORD kFirstRetry = 1000;         // ms
constexpr DWORD kLongestRetry = 30000;      // ms
constexpr DWORD kStallTime = 10000;         // ms until the job says that the daemon takes nothing
constexpr DWORD kPauseAfterFailure = 250;   // ms
constexpr DWORD kChunk = 65536;

constexpr char kMayHavePrinted[] = "; the printer may have printed a part of the job, or all of it";

std::string ComputerName() {
  char name[256] = {};
  gethostname(name, sizeof name - 1);
  return name;
}

class LprPort {
 public:
  explicit LprPort(Port port) : port_(std::move(port)) {}

  bool StartDoc(const Port& registered, const Document& document) {
    port_ = registered;
    watch_.Begin(document);
    broken_ = false;
    job_ = {port_.queue, document.job, ComputerName(), watch_.User(), document.name};
    if (port_.byteCounting ? spool_.Begin() : BeginStream()) return true;
    watch_.End();
    return false;
  }

  bool Write(const BYTE* buffer, DWORD size, LPDWORD written) {
    if (port_.byteCounting) return spool_.Append(buffer, size, written) || FailSlowly(kPauseAfterFailure);
    if (broken_ || !stream_) {
      WSASetLastError(WSAECONNRESET);
      return FailSlowly(kPauseAfterFailure);
    }
    const DWORD given = writeTime_;
    if (stream_->Send(buffer, size, given ? given : kDefaultWriteTime, written)) return true;
    const DWORD error = GetLastError();
    if (error == WSAETIMEDOUT) return false;
    if (error != ERROR_PRINT_CANCELLED) Break(stream_->Fault());
    SetLastError(error);
    return FailSlowly(kPauseAfterFailure);
  }

  bool EndDoc() {
    watch_.BeginEnd();
    const bool delivered = port_.byteCounting ? DeliverSpooled() : EndStream();
    watch_.End();
    return delivered;
  }

  void SetTimeouts(const COMMTIMEOUTS& timeouts) {
    writeTime_ = std::min(timeouts.WriteTotalTimeoutConstant, kLongestTime);
  }

 private:
  bool BeginStream() {
    stream_ = std::make_unique<LprSession>(port_.host, port_.portNumber, &watch_);
    if (stream_->Begin(job_, std::nullopt)) return true;
    const DWORD error = GetLastError();
    stream_.reset();
    SetLastError(error);
    return false;
  }

  bool EndStream() {
    if (!stream_) return true;
    // Without a size, an orderly end would make a document that was cut short look whole to the daemon.
    const bool cut = broken_ || watch_.MustStop(true);
    const bool ended = !cut && stream_->EndUncounted();
    if (cut) stream_->Abandon();
    if (!ended && !broken_) Break(cut ? "the job was broken off" : stream_->Fault());
    stream_.reset();
    return ended;
  }

  void Break(const std::string& fault) {
    broken_ = true;
    watch_.Fail(fault + kMayHavePrinted);
  }

  /// Sends the document until the daemon has it, or nobody wants it any more.
  bool DeliverSpooled() {
    bool delivered = spool_.Size() == 0;
    if (!delivered && watch_.MustStop(true)) {
      watch_.Fail("the job was not sent before the spooler ended");
      spool_.Close();
      return false;
    }
    for (DWORD pause = kFirstRetry; !delivered; pause = std::min(2 * pause, kLongestRetry)) {
      LprSession session(port_.host, port_.portNumber, &watch_);
      if (session.Begin(job_, spool_.Size())) {
        delivered = SendSpooled(session);
        const std::string fault = session.Fault().empty() ? "the kept document cannot be read" : session.Fault();
        if (!delivered) watch_.Fail(fault + kMayHavePrinted);
        break;
      }
      // Without a job there is none to cancel, and others wait for the port.
      if (!watch_.HasJob()) break;
      watch_.Explain(session.Fault());
      if (watch_.Pause(pause)) continue;
      watch_.Fail("the job was not sent before the spooler ended");
      break;
    }
    spool_.Close();
    return delivered;
  }

  /// Waits for a daemon that takes nothing, which may be that of a printer without paper, until the job is cancelled.
  bool SendSpooled(LprSession& session) {
    std::vector<BYTE> chunk(kChunk);
    for (unsigned long long done = 0; done < spool_.Size();) {
      DWORD size = 0;
      if (!spool_.Read(done, chunk.data(), kChunk, &size) || size == 0) return false;
      DWORD sent = 0;
      if (session.Send(chunk.data(), size, kStallTime, &sent)) {
        done += sent;
      } else if (GetLastError() == WSAETIMEDOUT) {
        watch_.Explain(session.Fault());
      } else {
        return false;
      }
    }
    return session.EndCounted();
  }

  Port port_;
  JobWatch watch_;
  LprJob job_;
  SpoolFile spool_;                     // with byte counting
  std::unique_ptr<LprSession> stream_;  // without
  bool broken_ = false;
  std::atomic<DWORD> writeTime_ = 0;
};

}  // namespace

PortMonitor LprPortMonitor() {
  MONITOR2* table = MonitorTable<LprPort>::Get();
  return {table, table};
}

}  // namespace portwise
