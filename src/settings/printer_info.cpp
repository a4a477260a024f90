#include "settings/printer_info.h"

#include <winspool.h>

#include <algorithm>

#include "core/computer_name.h"
#include "core/open_printer.h"
#include "settings/printer_info_cache.h"
#include "settings/session_printer.h"
#include "settings/spooler_buffer.h"

namespace portwise {
namespace {

constexpr WCHAR kBackslash = '\\';

struct {
  OString PrinterInfo::*member;
  LPWSTR PRINTER_INFO_2W::*from;
} constexpr kPrinterTexts[] = {
    {&PrinterInfo::serverName, &PRINTER_INFO_2W::pServerName},
    {&PrinterInfo::printerName, &PRINTER_INFO_2W::pPrinterName},
    {&PrinterInfo::shareName, &PRINTER_INFO_2W::pShareName},
    {&PrinterInfo::portName, &PRINTER_INFO_2W::pPortName},
    {&PrinterInfo::driverName, &PRINTER_INFO_2W::pDriverName},
    {&PrinterInfo::comment, &PRINTER_INFO_2W::pComment},
    {&PrinterInfo::location, &PRINTER_INFO_2W::pLocation},
    {&PrinterInfo::separatorFile, &PRINTER_INFO_2W::pSepFile},
    {&PrinterInfo::printProcessor, &PRINTER_INFO_2W::pPrintProcessor},
    {&PrinterInfo::dataType, &PRINTER_INFO_2W::pDatatype},
    {&PrinterInfo::parameters, &PRINTER_INFO_2W::pParameters},
};

struct {
  OString PrinterInfo::*member;
  LPWSTR DRIVER_INFO_6W::*from;
} constexpr kDriverTexts[] = {
    {&PrinterInfo::environment, &DRIVER_INFO_6W::pEnvironment},
    {&PrinterInfo::monitorName, &DRIVER_INFO_6W::pMonitorName},
    {&PrinterInfo::defaultDataType, &DRIVER_INFO_6W::pDefaultDataType},
    {&PrinterInfo::manufacturer, &DRIVER_INFO_6W::pszMfgName},
    {&PrinterInfo::hardwareId, &DRIVER_INFO_6W::pszHardwareID},
    {&PrinterInfo::oemUrl, &DRIVER_INFO_6W::pszOEMUrl},
    {&PrinterInfo::provider, &DRIVER_INFO_6W::pszProvider},
};

/// Windows takes either slash between folders.
int LastSeparator(const OString& path) { return path.ReverseFindAny("\\/"); }
OString FileName(const OString& path) { return path.Mid(LastSeparator(path) + 1); }

/// "printer" of "\\server\printer".
OString NameOnServer(const OString& name) { return name.Mid(name.Find(kBackslash, 2) + 1); }

}  // namespace

void PrinterInfo::Refresh() {
  if (PrinterInfoCache* cache = ThreadLocalSingleton<PrinterInfoCache>::Instance()) {
    const OString asked = printerName;
    *this = cache->Get(asked);
  } else {
    Load();
  }
}

bool PrinterInfo::IsBidirectional(const OString& printerName) {
  // Asked in every cycle of every port, so without a copy where that can be.
  PrinterInfoCache* cache = ThreadLocalSingleton<PrinterInfoCache>::Instance();
  const DWORD attributes = cache ? cache->Get(printerName).attributes : PrinterInfo(printerName).attributes;
  return (attributes & PRINTER_ATTRIBUTE_ENABLE_BIDI) != 0;
}

void PrinterInfo::Load() {
  const DWORD error = GetLastError();
  if (const unique_printer printer = OpenPrinterByName(printerName, PRINTER_ACCESS_USE)) {
    LoadPrinter(printer.Get());
    if (!loaded_) LoadDriver(printer.Get());
  }
  if (!loaded_ && !dataFile.IsEmpty()) {
    oemPrefix = dataFile.Left(3).ToLower();
    oemCode = dataFile.Mid(3, 2).ToLower();
  }
  loaded_ = true;
  SetLastError(error);
}

void PrinterInfo::LoadPrinter(HANDLE printer) {
  OBuffer buffer;
  const auto* info = FetchFromSpooler<PRINTER_INFO_2W>(
      buffer, [&](LPBYTE data, DWORD size, LPDWORD needed) { return GetPrinterW(printer, 2, data, size, needed); });
  if (!info) {
    if (serverName.IsEmpty()) FindServer();
    if (shortName.IsEmpty()) shortName = NameOnServer(printerName);
    return;
  }
  loadedTicks_ = GetTickCount();
  for (const auto& text : kPrinterTexts) this->*text.member = info->*text.from;
  attributes = info->Attributes;
  devMode.clear();
  if (const DEVMODEW* mode = info->pDevMode) {
    const auto* bytes = reinterpret_cast<const BYTE*>(mode);
    devMode.assign(bytes, bytes + mode->dmSize + mode->dmDriverExtra);
  }
  FindServer();
  shortName = NameOnServer(printerName);
  SessionPrinter session;
  sessionPrinter = !remote && FindSessionPrinter(printer, &session);
  if (!sessionPrinter) return;
  serverName = session.client;
  shortName = session.printer;
  remote = true;
}

void PrinterInfo::FindServer() {
  remote = true;
  if (!serverName.IsEmpty()) {
    serverName.TrimLeft("\\");
  } else if (portName.View().starts_with(TEXT("\\\\"))) {
    const OString path = portName.Mid(2);
    const int separator = path.Find(kBackslash);
    serverName = separator < 0 ? path : path.Left(separator);
    if (separator >= 0) shareName = path.Mid(separator + 1);
  } else {
    serverName = ComputerName();
    remote = false;
  }
}

void PrinterInfo::LoadDriver(HANDLE printer) {
  OBuffer buffer;
  const auto* info = FetchFromSpooler<DRIVER_INFO_6W>(buffer, [&](LPBYTE data, DWORD size, LPDWORD needed) {
    return GetPrinterDriverW(printer, nullptr, 6, data, size, needed);
  });
  if (!info) return;
  for (const auto& text : kDriverTexts) this->*text.member = info->*text.from;
  const OString path(info->pDriverPath);
  driverFolder = path.Left(std::max(LastSeparator(path), 0));
  driverFile = FileName(path);
  dataFile = FileName(info->pDataFile);
  configFile = FileName(info->pConfigFile);
  helpFile = FileName(info->pHelpFile);
  dependentFiles.Clear();
  for (LPCWSTR file = info->pDependentFiles; file && *file; file += WideView(file).size() + 1) {
    dependentFiles.Append(FileName(file));
  }
  driverVersion = info->cVersion;
  driverDate = info->ftDriverDate;
  driverVersion64 = info->dwlDriverVersion;
}

}  // namespace portwise
