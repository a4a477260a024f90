#pragma once

#include <string>

#include "host/job_store.h"

namespace portwise {

/// Carries out a JOB_CONTROL_ command. `fromMonitor` tells the monitor's own word on a job that it is running from an
/// order of a user. ERROR_SUCCESS, or an error code with the reason in `why`. Whoever calls wakes the job's port.
DWORD ControlJob(JobStore& store, DWORD id, DWORD command, bool fromMonitor, std::string* why);

}  // namespace portwise
