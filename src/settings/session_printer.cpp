#include "settings/session_printer.h"

#include <winspool.h>

#include "settings/spooler_buffer.h"

namespace portwise {
namespace {

constexpr char kClientName[] = "ClientName";
constexpr char kPrinterName[] = "PrinterName";
constexpr DWORD kMaxNameBytes = 520;

LPWSTR Mutable(const OString& text) { return const_cast<LPWSTR>(text.Wide()); }

OString ReadName(HANDLE printer, const OString& value) {
  WCHAR text[kMaxNameBytes / sizeof(WCHAR)];
  DWORD size = 0;
  if (GetPrinterDataW(printer, Mutable(value), nullptr, reinterpret_cast<LPBYTE>(text), sizeof text, &size) !=
      ERROR_SUCCESS) {
    return OString();
  }
  const WideView units(text, size / sizeof(WCHAR));
  return units.substr(0, units.find(WCHAR(0)));
}

void WriteName(HANDLE printer, const OString& value, const OString& name) {
  const auto size = static_cast<DWORD>((name.View().size() + 1) * sizeof(WCHAR));
  SetPrinterDataW(printer, Mutable(value), REG_SZ, reinterpret_cast<LPBYTE>(Mutable(name)), size);
}

/// Windows 2000 names a session's printer "printer/client/session" and does not tell the two names apart.
bool SplitName(HANDLE printer, SessionPrinter* found) {
  OBuffer buffer;
  const auto* info = FetchFromSpooler<PRINTER_INFO_1W>(
      buffer, [&](LPBYTE data, DWORD size, LPDWORD needed) { return GetPrinterW(printer, 1, data, size, needed); });
  if (!info) return false;
  const OString name(info->pName);
  const int last = name.ReverseFind(WCHAR('/'));
  const int earlier = last < 0 ? -1 : name.Left(last).ReverseFind(WCHAR('/'));
  if (earlier < 1) return false;
  *found = {name.Mid(earlier + 1, last - earlier - 1), name.Left(earlier)};
  return true;
}

}  // namespace

bool FindSessionPrinter(HANDLE printer, SessionPrinter* found) {
  OSVERSIONINFOW version{};
  version.dwOSVersionInfoSize = sizeof version;
  if (!GetVersionExW(&version) || version.dwPlatformId != VER_PLATFORM_WIN32_NT) return false;
  DWORD session = 0;
  DWORD size = 0;
  const OString sessionValue("TSSessionID");
  if (GetPrinterDataW(printer, Mutable(sessionValue), nullptr, reinterpret_cast<LPBYTE>(&session), sizeof session,
                      &size) != ERROR_SUCCESS ||
      size != sizeof session) {
    return false;
  }
  const SessionPrinter stored{ReadName(printer, kClientName), ReadName(printer, kPrinterName)};
  if (!stored.client.IsEmpty() && !stored.printer.IsEmpty()) {
    *found = stored;
    return true;
  }
  if (version.dwMajorVersion != 5 || version.dwMinorVersion != 0 || !SplitName(printer, found)) return false;
  WriteName(printer, kPrinterName, found->printer);
  WriteName(printer, kClientName, found->client);
  return true;
}

}  // namespace portwise
