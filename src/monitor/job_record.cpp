#include "monitor/job_record.h"

#include <winspool.h>

#include <algorithm>
#include <iterator>

#include "monitor/spooler_queries.h"

namespace portwise {
namespace {

constexpr const char* kNames[] = {"unknown",           "spooled",   "paused",   "printing",
                                  "user intervention", "completed", "verified", "failed"};

struct StatusRow {
  DWORD anyOf;
  JobState state;
};

/// The first row of which a bit is set decides.
constexpr StatusRow kStatusRows[] = {
    {JOB_STATUS_PRINTED | JOB_STATUS_COMPLETE, JobState::Completed},
    {JOB_STATUS_BLOCKED_DEVQ | JOB_STATUS_DELETED | JOB_STATUS_DELETING | JOB_STATUS_ERROR, JobState::Failed},
    {JOB_STATUS_PAUSED, JobState::Paused},
    {JOB_STATUS_RESTART | JOB_STATUS_PRINTING, JobState::Printing},
    {JOB_STATUS_SPOOLING, JobState::Spooled},
    {JOB_STATUS_USER_INTERVENTION | JOB_STATUS_PAPEROUT | JOB_STATUS_OFFLINE, JobState::UserIntervention},
};

}  // namespace

const char* JobStateName(JobState state) {
  const auto index = static_cast<size_t>(state);
  return kNames[index < std::size(kNames) ? index : 0];
}

JobState JobStateOf(DWORD jobStatus) {
  for (const auto& [anyOf, state] : kStatusRows) {
    if (jobStatus & anyOf) return state;
  }
  return JobState::Unknown;
}

bool StatusRecord_Job::FillFromSpooler(DWORD job, const OString& printer) {
  SpoolerJob info;
  if (!ReadJob(printer, job, &info)) return false;
  jobId = job;
  name = info.document;
  userName = info.user;
  machineName = info.machine;
  SetState(JobStateOf(info.status));
  return true;
}

void StatusRecord_Job::SetState(JobState newState) {
  state = newState;
  stateTime = GetTickCount();
}

void StatusRecord_Job::MarkVerified() { pagesVerified = std::max(pagesVerified, pagesSent); }

}  // namespace portwise
