#include "ui/print_job.h"

#include <winspool.h>

#include <string>

#include "core/open_printer.h"
#include "monitor/spooler_queries.h"
#include "settings/spooler_buffer.h"

namespace portwise {
namespace {

constexpr DWORD kHighestPriority = 99;

unique_printer OpenForUse(const OString& printer) { return OpenPrinterByName(printer, PRINTER_ACCESS_USE); }

/// With every right, or with those of somebody who may change no job but his own.
unique_printer OpenToChangeJobs(const OString& printer) {
  unique_printer handle = OpenForChanges(printer);
  return handle ? std::move(handle) : OpenForUse(printer);
}

const JOB_INFO_1W* ReadInfo(const unique_printer& printer, DWORD id, OBuffer& buffer) {
  if (!printer) return nullptr;
  return FetchFromSpooler<JOB_INFO_1W>(buffer, [&](LPBYTE data, DWORD size, LPDWORD needed) {
    return GetJobW(printer.Get(), id, 1, data, size, needed);
  });
}

}  // namespace

std::optional<DWORD> PrintJob::Status() const {
  OBuffer buffer;
  const JOB_INFO_1W* info = ReadInfo(OpenForUse(printer_), id_, buffer);
  if (!info) return std::nullopt;
  return info->Status != 0 ? info->Status : JOB_STATUS_SPOOLING;
}

bool PrintJob::IsAlive() const {
  const std::optional<DWORD> status = Status();
  return status && (*status & (JOB_STATUS_DELETED | JOB_STATUS_DELETING)) == 0;
}

bool PrintJob::HasBegun() const { return (Status().value_or(0) & (JOB_STATUS_PRINTING | JOB_STATUS_PRINTED)) != 0; }

bool PrintJob::MakeFirst() const {
  const unique_printer printer = OpenToChangeJobs(printer_);
  OBuffer buffer;
  const JOB_INFO_1W* info = ReadInfo(printer, id_, buffer);
  if (!info) return false;
  JOB_INFO_1W changed = *info;
  changed.Priority = kHighestPriority;
  changed.Position = JOB_POSITION_UNSPECIFIED;
  return SetJobW(printer.Get(), id_, 1, reinterpret_cast<LPBYTE>(&changed), 0) != FALSE;
}

bool PrintJob::Delete() const {
  const unique_printer printer = OpenToChangeJobs(printer_);
  return printer && SetJobW(printer.Get(), id_, 0, nullptr, JOB_CONTROL_DELETE);
}

DWORD FindJobOfName(const OString& printer, const OString& document) {
  const DWORD jobs = JobsQueued(printer);
  const unique_printer handle = OpenForUse(printer);
  if (jobs == 0 || !handle) return 0;
  OBuffer buffer;
  DWORD listed = 0;
  const auto* info = FetchFromSpooler<JOB_INFO_1A>(buffer, [&](LPBYTE data, DWORD size, LPDWORD needed) {
    return EnumJobsA(handle.Get(), 0, jobs, 1, data, size, needed, &listed);
  });
  const std::string name = document.InCodePage(kCodePageAnsi);
  DWORD found = 0;
  for (DWORD index = 0; info && index < listed; ++index) {
    if (info[index].pDocument && name == info[index].pDocument) found = info[index].JobId;
  }
  return found;
}

}  // namespace portwise
