#pragma once

#include <windows.h>

#include "core/ostring.h"

namespace portwise {

/// Tells the system's spooler of a job, so that the monitor finds its document's name there. Returns the job's number,
/// 0 when the spooler does not take it. The job stays to the end of the process: Wine's spooler would print it itself
/// when its document ends, fail for want of a port that it knows, and keep a lock of its own for good.
DWORD EnterJob(const OString& printer, const OString& document);

}  // namespace portwise
