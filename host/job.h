#pragma once

#include <windows.h>
#include <winspool.h>

#include <cstdint>
#include <optional>
#include <string>

#include "platform/spooler/json.h"

namespace portwise {

enum class JobState {
  Spooling,  ///< being received; not on disk yet
  Queued,
  Waiting,  ///< its turn has come, and `reason` says why it does not print
  Printing,
  Held,  ///< needs somebody: `reason` says why
};

/// Where the run of a job stands, which decides what the monitor's word that the job has left means.
enum class JobPhase { Idle, Sending, Delivered, Interrupted };

enum class JobOutcome { Unknown, Printed, Deleted };

/// A job of the queue. Texts are UTF-8.
struct Job {
  DWORD id = 0;
  std::string printer;
  std::string document;
  std::string user;
  std::string machine;
  std::string submitted;  ///< UTC, such as "2024-02-29T23:59:58.125Z"
  std::uint64_t size = 0;
  JobState state = JobState::Spooling;
  bool paused = false;
  bool deleting = false;
  /// Data may have reached the printer: printing the job again may double it.
  bool begun = false;
  std::string reason;

  // Known to the running spooler alone.
  std::uint64_t taken = 0;  ///< bytes that the monitor took
  bool active = false;      ///< a port is running the job
  bool left = false;        ///< the monitor said that the job has left it
  JobPhase phase = JobPhase::Idle;
  /// Why the port could not deliver all that it had taken; empty when it says nothing of the kind.
  std::string undelivered;
  /// What clients said of the job: flags of kToldJobStatus, and a text. Until it is said anew, or the job is held or
  /// resumed.
  std::optional<DWORD> toldStatus;
  std::string statusText;
};

/// The JOB_STATUS_ flags that clients may set; the others follow from what happens to the job.
inline constexpr DWORD kToldJobStatus = JOB_STATUS_ERROR | JOB_STATUS_PRINTING | JOB_STATUS_OFFLINE |
                                        JOB_STATUS_PAPEROUT | JOB_STATUS_BLOCKED_DEVQ | JOB_STATUS_USER_INTERVENTION;

/// The job's state in one word.
std::string StateName(const Job& job);
/// The state as JOB_STATUS_ flags. While a port runs the job, what clients said of it stands in place of the queue's
/// own word; otherwise it is added, except that the job prints.
DWORD StatusFlags(const Job& job);
/// Forgets what clients said of the job.
void ForgetTold(Job* job);
/// What a held job shows that was cut off.
std::string InterruptedReason(const Job& job);

/// The job as it lies on disk, and back. Nothing when the record is not one of a job.
nlohmann::json ToRecord(const Job& job);
std::optional<Job> FromRecord(const nlohmann::json& record);

}  // namespace portwise
