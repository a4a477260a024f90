#pragma once

#include <windows.h>

#include "host/job_store.h"
#include "platform/spooler/json.h"

namespace portwise {

/// Gives a job the status, status text and document name of an order, for as long as Job says. A document or data type
/// that is not there leaves the job its own. The data type, the priority and the place in the queue (0 for whatever it
/// is, `position` is the job's own) cannot be others. Throws OrderError,
/// with the job as it was, or with a new document name that cannot be saved and is lost when the spooler ends.
void SetJobInfo(JobStore& store, DWORD id, DWORD position, const nlohmann::json& order);

}  // namespace portwise
