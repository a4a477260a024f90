// What the status monitor's thread does, over and over.

#include <algorithm>
#include <utility>

#include "query/status_monitor.h"
#include "settings/printer_info.h"

namespace portwise {
namespace {

constexpr DWORD kWhileUnidirectional = 200;  // ms, as are all below
constexpr DWORD kIdleWait = 2000;            // the age that settings may have; the price of an idle port
constexpr DWORD kBusyPause = 20;             // while print data has the connection
constexpr DWORD kOfflineResponseTimeout = 2000;

/// The connection's use lock, if nobody has it, for a scope in which nothing is print data.
class ConnectionTurn {
 public:
  explicit ConnectionTurn(Connection& connection) : connection_(connection), taken_(connection.TryLock()) {
    if (taken_) connection_.CountAsPrintData(false);
  }
  ~ConnectionTurn() {
    if (!taken_) return;
    connection_.CountAsPrintData(true);
    connection_.Unlock();
  }
  ConnectionTurn(const ConnectionTurn&) = delete;
  ConnectionTurn& operator=(const ConnectionTurn&) = delete;

  bool IsTaken() const { return taken_; }

 private:
  Connection& connection_;
  const bool taken_;
};

/// Whether nobody may follow any more, after a change of the mode, a status that was followed before it.
bool LeavesUnfollowed(LONG before, LONG now) {
  switch (before) {
    case kMonitoringOnDemand:
      return now == kMonitoringOff || now == kMonitoringDuringJobs;
    case kMonitoringAlways:
      return now != kMonitoringAlways;
    case kMonitoringDuringJobs:
      return now == kMonitoringOff;
    default:
      return false;
  }
}

}  // namespace

void StatusMonitor::WaitAwake(DWORD milliseconds) { WaitForSingleObject(wake_.Get(), milliseconds); }

void StatusMonitor::WaitForEvents(DWORD milliseconds) {
  const HANDLE events[] = {wake_.Get(), host_.Events().StatusRequest(), host_.Events().Query()};
  const DWORD ended = WaitForMultipleObjects(3, events, FALSE, milliseconds);
  if (ended == WAIT_OBJECT_0 + 1) statusRequested_ = true;
}

/// Those that fall due in the midst of a job are told of when the job is over.
void StatusMonitor::WaitForRequests(DWORD milliseconds) {
  if (!host_.IsInJobData()) milliseconds = std::min(requests_.TimeUntilDue().value_or(milliseconds), milliseconds);
  WaitForEvents(milliseconds);
}

void StatusMonitor::RunCycle() {
  requests_.Purge();
  if (!FollowSettings()) {
    WaitForEvents(kWhileUnidirectional);
    return;
  }
  const bool pollDue = IsPollDue();
  const bool forJob = IsMonitoringJob();
  if (!IsQuerying() && status_.IsReady() && !pollDue && !RequestsDue()) {
    WaitForDemand();
    return;
  }
  if (pollDue && status_.IsReady() && startDocFailed_.exchange(false)) SetStatusOffline();
  WaitForTurn();
  if (running_ && !UseConnection(pollDue, forJob)) WaitAwake(kBusyPause);
}

/// What the settings say now; false when the printer is not to be asked anything. A status that nobody follows any more
/// becomes ready.
bool StatusMonitor::FollowSettings() {
  host_.RefreshPrinter();
  const LONG mode = host_.SettingValues().GetStatusMonitoringMode();
  const bool bidirectional = PrinterInfo::IsBidirectional(host_.JobPrinter());
  const bool switchedOff = bidirectional_ && !bidirectional;
  bidirectional_ = bidirectional;
  const bool left = LeavesUnfollowed(mode_, mode);
  mode_ = mode;
  if (switchedOff || left) DropStatus();
  if (!bidirectional) {
    refusedAt_.reset();
    queue_.Abandon();
    statusRequested_ = false;
    // Whoever asks learns at once that there is nothing to wait for.
    TellStatusWaiters();
  }
  return bidirectional;
}

/// Print data that waits for a status, also that of a request between jobs, gets one in every mode that asks at all.
bool StatusMonitor::IsPollDue() {
  if (mode_ != kMonitoringOff && statusRequested_) return true;
  switch (mode_) {
    case kMonitoringOnDemand: {
      const DWORD read = lastStatusRead_;
      return !status_.IsReady() || IsMonitoringJob() || startDocFailed_ ||
             (read != 0 && GetTickCount() - read <= kDemand);
    }
    case kMonitoringAlways:
      return true;
    case kMonitoringDuringJobs:
      if (!status_.IsReady()) {
        const OScopedLock document(host_.DocumentLock());
        if (!IsMonitoringJob()) DropStatus();
      }
      return IsMonitoringJob();
    default:
      return false;
  }
}

/// Somebody follows the status at present, and it is looked for again.
bool StatusMonitor::IsStatusFollowed() {
  return mode_ != kMonitoringOff && (mode_ != kMonitoringDuringJobs || IsMonitoringJob());
}

/// Until somebody wants something, a request falls due, or the settings may have changed.
void StatusMonitor::WaitForDemand() {
  refused_ = false;
  refusedAt_.reset();
  WaitForRequests(kIdleWait);
}

/// A connection that was refused is not asked for again before an interval has passed.
void StatusMonitor::WaitForTurn() {
  const bool refused = std::exchange(refused_, false);
  statusResponseTimeout_ = ResponseTimeout();
  if (status_.IsOffline()) {
    statusResponseTimeout_ = kOfflineResponseTimeout;
    if (refused || !statusRequested_) WaitAwake(PollingInterval());
  } else if (refused) {
    WaitForEvents(PollingInterval());
  } else if (!statusRequested_ && !IsQuerying() && !RequestsDue()) {
    WaitForRequests(PollingInterval());
  }
}

/// Holds the connection, and keeps jobs from starting and ending, for as long as the printer is asked. False when print
/// data has the connection. `forJob` tells that there was a job when the poll fell due.
bool StatusMonitor::UseConnection(bool pollDue, bool forJob) {
  const OScopedLock document(host_.DocumentLock());
  Connection& connection = host_.PrinterConnection();
  const ConnectionTurn turn(connection);
  if (!turn.IsTaken()) return false;
  // During the wait a status may have been requested, or the job ended that the poll was for.
  pollDue = forJob && !IsMonitoringJob() ? IsPollDue() : pollDue || (mode_ != kMonitoringOff && statusRequested_);
  // A run of queries goes first.
  const bool requested = std::exchange(statusRequested_, statusRequested_ && IsQuerying() && statusRequests_ > 0);
  if (!pollDue && !IsQuerying() && !RequestsDue()) return true;
  attemptedAt_ = GetTickCount();
  if (!host_.BeginStatusDocument()) {
    if ((connection.IsTcp() || connection.IsUsb()) && IsStatusFollowed()) {
      SetStatusOffline();
    } else {
      // Who still waits for a status has not got one.
      statusRequested_ = requested && statusRequests_ > 0;
    }
    TimeRefusal();
    return true;
  }
  try {
    AskPrinter(pollDue);
  } catch (...) {
    host_.EndStatusDocument();
    throw;
  }
  host_.EndStatusDocument();
  return true;
}

void StatusMonitor::AskPrinter(bool pollDue) {
  Connection& connection = host_.PrinterConnection();
  const bool ownChannel = connection.IsTcp() && host_.Plugin().HasStatusChannel();
  bool polled = false;
  // A change of the channel closes the print channel, which a job in its midst can do without.
  const bool polls = pollDue && MayPoll();
  if (ownChannel && !polls && !IsQuerying() && !RequestsDue()) {
    refusedAt_.reset();
    return;
  }
  // Print data must not find the status channel open, whatever happens here.
  try {
    if (ownChannel) connection.CloseChannel();
    if (!ownChannel || connection.OpenStatus()) {
      refusedAt_.reset();
      Exchange(pollDue, &polled);
    } else {
      TakeRefusal(polls);
    }
  } catch (...) {
    RestoreConnection(ownChannel, polled);
    throw;
  }
  RestoreConnection(ownChannel, polled);
}

/// The printer takes no connection to its status channel. One that has answered there before is as good as silent, but
/// it may only be answering another computer: as long as it takes print data it has not been switched off.
void StatusMonitor::TakeRefusal(bool polls) {
  if (polls) {
    if (!host_.PrinterConnection().Open()) {
      ConcludeOffline();
    } else if (poll_.IsKnownBidirectional()) {
      SetStatusOffline();
    }
  }
  TimeRefusal();
}

/// What is to be asked of a printer that takes no connection waits no longer than for one that takes nothing.
void StatusMonitor::TimeRefusal() {
  refused_ = true;
  if (!IsQuerying() && !RequestsDue()) {
    refusedAt_.reset();
    return;
  }
  // The attempt itself may have taken that long.
  if (!refusedAt_) refusedAt_ = attemptedAt_;
  if (GetTickCount() - *refusedAt_ <= SendTimeout()) return;
  refusedAt_.reset();
  engine_.FailDue();
}

void StatusMonitor::Exchange(bool pollDue, bool* polled) {
  host_.EnsureProtocolLoaded();
  if (!host_.IsInJobData()) engine_.RunRequests();
  if (IsQuerying()) {
    engine_.RunQueryQueue();
    // A run that began only now goes first, too.
    if (pollDue && statusRequests_ > 0) statusRequested_ = true;
  } else if (pollDue) {
    startDocFailed_ = false;
    *polled = PollStatus();
  }
}

void StatusMonitor::RestoreConnection(bool ownChannel, bool polled) {
  Connection& connection = host_.PrinterConnection();
  const bool lost = connection.IsTcp() && polled && status_.IsOffline();
  if (lost) connection.SetKeepOpen(false);
  if (!ownChannel && !lost) return;
  connection.CloseChannel();
  connection.Open();
}

bool StatusMonitor::PollStatus() {
  if (!MayPoll()) return false;
  if (host_.PrinterConnection().GetStatus(STATUS_DISCONNECTED) != 0) {
    ConcludeOffline();
    return true;
  }
  if (IsMonitoringJob() && !host_.IsFirstWritePending()) PaceDuringJob();
  lastPoll_ = GetTickCount();
  if (!unansweredSince_) unansweredSince_ = lastPoll_;
  const auto publish = [this](const std::optional<PrinterStatus>& found) {
    if (found && found->IsReady()) host_.NoteReady();
    SetStatus(found.value_or(status_));
  };
  switch (poll_.Ask(statusResponseTimeout_, publish)) {
    case StatusPoll::Result::Answered:
      unansweredSince_.reset();
      TellStatusWaiters();
      break;
    case StatusPoll::Result::Offline:
      TakeSilence();
      break;
    case StatusPoll::Result::Nothing:
      break;
  }
  return true;
}

/// A printer that is looked for with short waits may be there and merely late, with nothing lost.
void StatusMonitor::TakeSilence() {
  const bool gone = host_.PrinterConnection().GetStatus(STATUS_DISCONNECTED) != 0;
  if (gone || GetTickCount() - *unansweredSince_ >= ResponseTimeout()) {
    ConcludeOffline();
  } else {
    SetStatusOffline();
  }
}

/// Not the printer's own word.
void StatusMonitor::ConcludeOffline() {
  host_.NoteSilence();
  SetStatusOffline();
}

/// One interval lies between two polls. A printer that has just been given print data gets it to look at the data, as
/// long as there is more to come.
void StatusMonitor::PaceDuringJob() {
  const DWORD interval = PollingInterval();
  while (running_) {
    const DWORD now = GetTickCount();
    DWORD passed = now - lastPoll_;
    if (!QueriesAdded() && host_.IsJobOpen()) passed = std::min<DWORD>(passed, now - lastData_);
    if (passed >= interval) return;
    WaitAwake(interval - passed);
  }
}

}  // namespace portwise
