#include "monitor/spooler_queries.h"

#include "core/buffer.h"
#include "core/printer_handle.h"

namespace portwise {
namespace {

unique_printer OpenByName(const OString& name, PRINTER_DEFAULTSW* defaults = nullptr) {
  unique_printer printer;
  OString text = name;
  if (!OpenPrinterW(const_cast<LPWSTR>(text.Wide()), printer.Put(), defaults)) printer.Detach();
  return printer;
}

/// Calls `query` first without a buffer to learn the size, then with one. Null when either call failed.
template <class Info, class Query>
const Info* Fetch(OBuffer& buffer, Query query) {
  DWORD needed = 0;
  if (query(nullptr, 0, &needed)) return nullptr;
  // What is asked for may grow between two calls.
  while (GetLastError() == ERROR_INSUFFICIENT_BUFFER && needed >= sizeof(Info) && buffer.Allocate(needed)) {
    if (query(buffer.Data(), needed, &needed)) return reinterpret_cast<const Info*>(buffer.Data());
  }
  return nullptr;
}

}  // namespace

OString PortOfPrinter(const OString& printer) {
  const unique_printer handle = OpenByName(printer);
  if (!handle) return OString();
  OBuffer buffer;
  const auto* info = Fetch<PRINTER_INFO_2W>(buffer, [&](LPBYTE data, DWORD size, LPDWORD needed) {
    return GetPrinterW(handle.Get(), 2, data, size, needed);
  });
  return info ? OString(info->pPortName) : OString();
}

OString PrinterOfShare(const OString& share) {
  OBuffer buffer;
  DWORD count = 0;
  const auto* info = Fetch<PRINTER_INFO_2W>(buffer, [&](LPBYTE data, DWORD size, LPDWORD needed) {
    return EnumPrintersW(PRINTER_ENUM_LOCAL | PRINTER_ENUM_SHARED, nullptr, 2, data, size, needed, &count);
  });
  for (DWORD i = 0; info && i < count; ++i) {
    if (OString(info[i].pShareName).EqualsNoCase(share)) return OString(info[i].pPrinterName);
  }
  return OString();
}

DWORD JobStatus(const OString& printer, DWORD job) {
  const DWORD error = GetLastError();
  const unique_printer handle = OpenByName(printer);
  OBuffer buffer;
  const auto* info = Fetch<JOB_INFO_1W>(buffer, [&](LPBYTE data, DWORD size, LPDWORD needed) {
    return GetJobW(handle.Get(), job, 1, data, size, needed);
  });
  SetLastError(error);
  return info ? info->Status : 0;
}

bool ReadJob(const OString& printer, DWORD job, SpoolerJob* info) {
  PRINTER_DEFAULTSW defaults = {nullptr, nullptr, PRINTER_ALL_ACCESS};
  const unique_printer handle = OpenByName(printer, &defaults);
  if (!handle) return false;
  OBuffer buffer;
  const auto* found = Fetch<JOB_INFO_1W>(buffer, [&](LPBYTE data, DWORD size, LPDWORD needed) {
    return GetJobW(handle.Get(), job, 1, data, size, needed);
  });
  if (!found) return false;
  *info = {OString(found->pDocument), OString(found->pUserName), OString(found->pMachineName), found->Status};
  return true;
}

bool ControlJob(const OString& printer, DWORD job, DWORD command) {
  const unique_printer handle = OpenByName(printer);
  return handle && SetJobW(handle.Get(), job, 0, nullptr, command);
}

}  // namespace portwise
