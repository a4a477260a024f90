#include <windows.h>
#include <winspool.h>

#include <chrono>
#include <cstdio>

#include "platform/kernel/fail.h"
#include "platform/spooler/packer.h"
#include "platform/spooler/printer_handles.h"
#include "platform/text.h"

namespace portwise::platform {

namespace {

using Json = nlohmann::json;

/// Midnight of a date such as "06/21/2006"; zero for another text.
FILETIME ParseDate(const std::string& text) {
  using namespace std::chrono;
  int month = 0, day = 0, year = 0;
  if (std::sscanf(text.c_str(), "%2d/%2d/%4d", &month, &day, &year) != 3) return {};
  const year_month_day date(std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                            std::chrono::day(static_cast<unsigned>(day)));
  constexpr sys_days kFirst = 1601y / 1 / 1;
  if (!date.ok() || sys_days(date) < kFirst) return {};
  using FileTicks = duration<long long, std::ratio<1, 10000000>>;
  const auto ticks = static_cast<ULONGLONG>(duration_cast<FileTicks>(sys_days(date) - kFirst).count());
  return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

/// "10.0.19041.1" as four words, the first the highest.
DWORDLONG ParseVersion(const std::string& text) {
  unsigned parts[4] = {};
  std::sscanf(text.c_str(), "%u.%u.%u.%u", &parts[0], &parts[1], &parts[2], &parts[3]);
  DWORDLONG version = 0;
  for (unsigned part : parts) version = version << 16 | (part & 0xffff);
  return version;
}

void PackDriver(const Json& driver, Packer<DRIVER_INFO_6W>* packer) {
  struct {
    const char* field;
    LPWSTR DRIVER_INFO_6W::*member;
  } constexpr kTexts[] = {
      {"name", &DRIVER_INFO_6W::pName},
      {"environment", &DRIVER_INFO_6W::pEnvironment},
      {"file", &DRIVER_INFO_6W::pDriverPath},
      {"dataFile", &DRIVER_INFO_6W::pDataFile},
      {"configFile", &DRIVER_INFO_6W::pConfigFile},
      {"helpFile", &DRIVER_INFO_6W::pHelpFile},
      {"monitor", &DRIVER_INFO_6W::pMonitorName},
      {"datatype", &DRIVER_INFO_6W::pDefaultDataType},
      {"manufacturer", &DRIVER_INFO_6W::pszMfgName},
      {"hardwareId", &DRIVER_INFO_6W::pszHardwareID},
      {"oemUrl", &DRIVER_INFO_6W::pszOEMUrl},
      {"provider", &DRIVER_INFO_6W::pszProvider},
  };
  DRIVER_INFO_6W info{};
  info.cVersion = driver.value("version", DWORD{0});
  info.ftDriverDate = ParseDate(driver.value("driverDate", std::string()));
  info.dwlDriverVersion = ParseVersion(driver.value("driverVersion", std::string()));
  packer->Add(info);
  for (const auto& row : kTexts) {
    if (const auto text = Field(driver, row.field); !text.empty()) packer->Text(row.member, text);
  }
  std::vector<std::basic_string<WCHAR>> files;
  for (const Json& file : driver.value("dependentFiles", Json::array()))
    files.push_back(ToUtf16(file.get<std::string>()));
  if (!files.empty()) packer->Texts(&DRIVER_INFO_6W::pDependentFiles, files);
}

}  // namespace

}  // namespace portwise::platform

using namespace portwise::platform;

BOOL WINAPI GetPrinterDriverW(HANDLE printer, LPWSTR environment, DWORD level, LPBYTE buffer, DWORD size,
                              LPDWORD needed) {
  auto opened = FindPrinterHandle(printer);
  if (!opened) return FALSE;
  if (level != 6) return Fail(ERROR_INVALID_LEVEL);
  if (!needed) return Fail(ERROR_INVALID_PARAMETER);
  *needed = 0;
  auto reply = Order({{"op", "driver-get"}, {"printer", opened->name}});
  if (!reply) return FALSE;
  if (environment && *environment && FoldCase(environment) != FoldCase(Field(reply->head, "environment")))
    return Fail(ERROR_INVALID_ENVIRONMENT);
  Packer<DRIVER_INFO_6W> packer;
  PackDriver(reply->head, &packer);
  return packer.Write(buffer, size, needed);
}
