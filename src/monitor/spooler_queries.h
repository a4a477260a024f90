#pragma once

#include <windows.h>

#include "core/ostring.h"
#include "core/ostring_array.h"
#include "core/printer_handle.h"

namespace portwise {

/// What the monitor asks the print spooler about printers and jobs. Any thread; every call opens and closes what it
/// needs, and a spooler that cannot answer gives the failure value.

/// The printer, opened with every right on it and its jobs; none when the spooler refuses.
unique_printer OpenForChanges(const OString& printer);

/// How many jobs wait on the printer or are being printed; 0 when the spooler does not know it. The thread's last error
/// stays as it is.
DWORD JobsQueued(const OString& printer);

/// The first printer of this computer that is shared under the name, without regard to ASCII case; empty when none is.
OString PrinterOfShare(const OString& share);

/// The names of this computer's printers, shared or not.
OStringArray LocalPrinters();

/// The job's JOB_STATUS_ bits; 0 when the spooler does not know the job. The thread's last error stays as it is.
DWORD JobStatus(const OString& printer, DWORD job);

/// What the spooler knows of a job.
struct SpoolerJob {
  OString document;
  OString user;
  OString machine;
  DWORD status = 0;  ///< JOB_STATUS_ bits
};
bool ReadJob(const OString& printer, DWORD job, SpoolerJob* info);

/// Tells the spooler that the monitor is done with a job (a JOB_CONTROL_ command).
bool ControlJob(const OString& printer, DWORD job, DWORD command);

}  // namespace portwise
