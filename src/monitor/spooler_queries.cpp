#include "monitor/spooler_queries.h"

#include "core/open_printer.h"
#include "settings/spooler_buffer.h"

namespace portwise {
namespace {

/// `*count` structures in `buffer`; none when the spooler fails.
const PRINTER_INFO_2W* ListPrinters(DWORD flags, OBuffer& buffer, DWORD* count) {
  const auto* info = FetchFromSpooler<PRINTER_INFO_2W>(buffer, [&](LPBYTE data, DWORD size, LPDWORD needed) {
    return EnumPrintersW(flags, nullptr, 2, data, size, needed, count);
  });
  if (!info) *count = 0;
  return info;
}

}  // namespace

unique_printer OpenForChanges(const OString& printer) { return OpenPrinterByName(printer, PRINTER_ALL_ACCESS); }

DWORD JobsQueued(const OString& printer) {
  const DWORD error = GetLastError();
  const unique_printer handle = OpenPrinterByName(printer, 0);
  OBuffer buffer;
  const auto* info = FetchFromSpooler<PRINTER_INFO_2W>(buffer, [&](LPBYTE data, DWORD size, LPDWORD needed) {
    return GetPrinterW(handle.Get(), 2, data, size, needed);
  });
  SetLastError(error);
  return info ? info->cJobs : 0;
}

OString PrinterOfShare(const OString& share) {
  OBuffer buffer;
  DWORD count = 0;
  const auto* info = ListPrinters(PRINTER_ENUM_LOCAL | PRINTER_ENUM_SHARED, buffer, &count);
  for (DWORD i = 0; i < count; ++i) {
    if (OString(info[i].pShareName).EqualsNoCase(share)) return OString(info[i].pPrinterName);
  }
  return OString();
}

OStringArray LocalPrinters() {
  OBuffer buffer;
  DWORD count = 0;
  const auto* info = ListPrinters(PRINTER_ENUM_LOCAL, buffer, &count);
  OStringArray names;
  for (DWORD i = 0; i < count; ++i) names.Append(info[i].pPrinterName);
  return names;
}

DWORD JobStatus(const OString& printer, DWORD job) {
  const DWORD error = GetLastError();
  const unique_printer handle = OpenPrinterByName(printer, 0);
  OBuffer buffer;
  const auto* info = FetchFromSpooler<JOB_INFO_1W>(buffer, [&](LPBYTE data, DWORD size, LPDWORD needed) {
    return GetJobW(handle.Get(), job, 1, data, size, needed);
  });
  SetLastError(error);
  return info ? info->Status : 0;
}

bool ReadJob(const OString& printer, DWORD job, SpoolerJob* info) {
  const unique_printer handle = OpenForChanges(printer);
  if (!handle) return false;
  OBuffer buffer;
  const auto* found = FetchFromSpooler<JOB_INFO_1W>(buffer, [&](LPBYTE data, DWORD size, LPDWORD needed) {
    return GetJobW(handle.Get(), job, 1, data, size, needed);
  });
  if (!found) return false;
  *info = {OString(found->pDocument), OString(found->pUserName), OString(found->pMachineName), found->Status};
  return true;
}

bool ControlJob(const OString& printer, DWORD job, DWORD command) {
  const unique_printer handle = OpenPrinterByName(printer, 0);
  return handle && SetJobW(handle.Get(), job, 0, nullptr, command);
}

}  // namespace portwise
