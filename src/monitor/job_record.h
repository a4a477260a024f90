#pragma once

#include <windows.h>

#include "core/ostring.h"

namespace portwise {

/// What became of a job, as it is told to people and logs. 0 is not known.
enum class JobState : DWORD {
  Unknown = 0,
  Spooled = 1,
  Paused = 2,
  Printing = 3,
  UserIntervention = 4,
  Completed = 5,
  Verified = 6,
  Failed = 7,
};

/// "completed", for example; "unknown" for every value that is not of the list.
const char* JobStateName(JobState state);

/// What the spooler's JOB_STATUS_ bits say.
JobState JobStateOf(DWORD jobStatus);

/// One job: whose it is, what state it reached and what was counted on the way. No lock of its own.
struct StatusRecord_Job {
  DWORD jobId = 0;
  OString name;  ///< of the document
  OString userName;
  OString machineName;
  JobState state = JobState::Spooled;
  DWORD warningCount = 0;
  DWORD errorCount = 0;
  DWORD pagesSent = 0;
  DWORD pagesVerified = 0;
  DWORD stateTime = GetTickCount();  ///< tick count when the state was last set

  /// From what the spooler knows of the job. False, with the record as it was, when that is nothing.
  bool FillFromSpooler(DWORD job, const OString& printer);

  void SetState(JobState newState);
  /// Every page sent counts as verified.
  void MarkVerified();
};

}  // namespace portwise
