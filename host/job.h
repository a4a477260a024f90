#pragma once

#include <windows.h>

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

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
};

/// The job's state in one word.
std::string StateName(const Job& job);
/// The state as JOB_STATUS_ flags.
DWORD StatusFlags(const Job& job);
/// What a held job shows that was cut off.
std::string InterruptedReason(const Job& job);

/// The job as it lies on disk, and back. Nothing when the record is not one of a job.
nlohmann::json ToRecord(const Job& job);
std::optional<Job> FromRecord(const nlohmann::json& record);

}  // namespace portwise
