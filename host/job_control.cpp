#include "host/job_control.h"

#include <winspool.h>

namespace portwise {

namespace {

DWORD Pause(JobStore& store, DWORD id, std::string* why) {
  bool held = false;
  store.Change(id, [&](Job& job) {
    held = job.state == JobState::Held;
    job.paused = job.paused || !held;
  });
  if (held) {
    *why = "the job is held already";
    return ERROR_INVALID_PRINTER_COMMAND;
  }
  return store.Save(id, why) ? ERROR_SUCCESS : ERROR_CANTWRITE;
}

DWORD Resume(JobStore& store, DWORD id, std::string* why) {
  store.Change(id, [](Job& job) {
    job.paused = false;
    if (job.state != JobState::Held || job.active) return;
    job.state = JobState::Queued;
    job.begun = false;
    job.taken = 0;
    job.reason.clear();
    ForgetTold(&job);
  });
  return store.Save(id, why) ? ERROR_SUCCESS : ERROR_CANTWRITE;
}

DWORD Cancel(JobStore& store, DWORD id, std::string* why) {
  bool idle = false;
  store.Change(id, [&](Job& job) {
    job.deleting = true;
    idle = !job.active && job.state != JobState::Spooling;
  });
  // A job that is running or being received is removed by whoever has it. What is not on disk would be undone by a
  // restart, so it is told; the job does not print before that all the same.
  const bool kept = idle ? store.Remove(id, JobOutcome::Deleted, why) : store.Save(id, why);
  return kept ? ERROR_SUCCESS : ERROR_CANTWRITE;
}

/// The monitor says "deleted" or "sent" of every document that it ends, also of one that was cut off.
DWORD MonitorSaysLeft(JobStore& store, DWORD id) {
  store.Change(id, [](Job& job) { job.left = job.left || job.phase == JobPhase::Delivered; });
  return ERROR_SUCCESS;
}

}  // namespace

DWORD ControlJob(JobStore& store, DWORD id, DWORD command, bool fromMonitor, std::string* why) {
  auto job = store.Find(id);
  if (!job) {
    *why = "there is no job " + std::to_string(id);
    return ERROR_INVALID_PARAMETER;
  }
  bool ending = job->phase == JobPhase::Delivered || job->phase == JobPhase::Interrupted;
  switch (command) {
    case JOB_CONTROL_PAUSE:
      return Pause(store, id, why);
    case JOB_CONTROL_RESUME:
    case JOB_CONTROL_RESTART:
      return Resume(store, id, why);
    case JOB_CONTROL_CANCEL:
      return Cancel(store, id, why);
    case JOB_CONTROL_DELETE:
      return fromMonitor && ending ? MonitorSaysLeft(store, id) : Cancel(store, id, why);
    case JOB_CONTROL_SENT_TO_PRINTER:
      if (fromMonitor && job->active) return MonitorSaysLeft(store, id);
      break;
    default:
      break;
  }
  *why = "the job does not take this command";
  return ERROR_INVALID_PARAMETER;
}

}  // namespace portwise
