#pragma once

#include <windows.h>

#include <string>

namespace portwise::test {

/// Calls the library's query dialog for a job, on a thread of its own. What the spooler would tell of the job and do to
/// it is done here: Wine's spooler knows no state of a job, and its jobs in their own process only.
bool BeginQuery(const std::wstring& printer, DWORD job);

/// The job's state from now on, as JOB_STATUS_... tells it; false when nobody asks.
bool SetQueryJob(DWORD status);

/// What the dialog ended with, and what had been done to the job.
std::wstring QueryResult(DWORD patience);

}  // namespace portwise::test
