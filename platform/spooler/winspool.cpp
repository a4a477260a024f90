#include <winspool.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <map>
#include <mutex>
#include <optional>

#include "platform/kernel/fail.h"
#include "platform/spooler/channel.h"
#include "platform/spooler/packer.h"
#include "platform/text.h"

namespace portwise::platform {

namespace {

using Json = nlohmann::json;

/// Open printers by their handles, which are numbers that are never given twice.
class PrinterHandles {
 public:
  HANDLE Add(const std::string& printer) {
    std::lock_guard lock(mutex_);
    next_ += 4;
    printers_[next_] = printer;
    return reinterpret_cast<HANDLE>(next_);
  }

  std::optional<std::string> Find(HANDLE handle) {
    std::lock_guard lock(mutex_);
    auto found = printers_.find(reinterpret_cast<ULONG_PTR>(handle));
    if (found == printers_.end()) return std::nullopt;
    return found->second;
  }

  bool Remove(HANDLE handle) {
    std::lock_guard lock(mutex_);
    return printers_.erase(reinterpret_cast<ULONG_PTR>(handle)) == 1;
  }

 private:
  std::mutex mutex_;
  std::map<ULONG_PTR, std::string> printers_;
  ULONG_PTR next_ = 0x7000000;
};

PrinterHandles& Handles() {
  static PrinterHandles handles;
  return handles;
}

/// The answer to `order` when it was carried out; otherwise nothing, and its error is the last error.
std::optional<Message> Order(const Json& order) {
  Message reply = CallSpooler({order, {}});
  if (DWORD error = reply.head.value("error", DWORD{ERROR_INTERNAL_ERROR}); error != ERROR_SUCCESS) {
    SetLastError(error);
    return std::nullopt;
  }
  return reply;
}

std::u16string Field(const Json& object, const char* name) { return ToUtf16(object.value(name, std::string())); }

void PackPrinter(const Json& printer, Packer<PRINTER_INFO_2W>* packer) {
  struct {
    const char* field;
    LPWSTR PRINTER_INFO_2W::*member;
  } constexpr kTexts[] = {
      {"name", &PRINTER_INFO_2W::pPrinterName}, {"share", &PRINTER_INFO_2W::pShareName},
      {"port", &PRINTER_INFO_2W::pPortName},    {"driver", &PRINTER_INFO_2W::pDriverName},
      {"comment", &PRINTER_INFO_2W::pComment},  {"location", &PRINTER_INFO_2W::pLocation},
  };
  PRINTER_INFO_2W info{};
  info.Attributes = printer.value("attributes", DWORD{0});
  info.cJobs = printer.value("jobs", DWORD{0});
  info.Priority = info.DefaultPriority = 1;
  packer->Add(info);
  for (const auto& text : kTexts) packer->Text(text.member, Field(printer, text.field));
  packer->Text(&PRINTER_INFO_2W::pSepFile, {});
  packer->Text(&PRINTER_INFO_2W::pPrintProcessor, TEXT("winprint"));
  packer->Text(&PRINTER_INFO_2W::pDatatype, TEXT("RAW"));
  packer->Text(&PRINTER_INFO_2W::pParameters, {});
}

/// The time of a text such as "2024-02-29T23:59:58.125Z"; all zero for another text.
SYSTEMTIME ParseTime(const std::string& text) {
  SYSTEMTIME time{};
  std::tm parts{};
  int milliseconds = 0;
  if (std::sscanf(text.c_str(), "%d-%d-%dT%d:%d:%d.%d", &parts.tm_year, &parts.tm_mon, &parts.tm_mday, &parts.tm_hour,
                  &parts.tm_min, &parts.tm_sec, &milliseconds) != 7)
    return time;
  parts.tm_year -= 1900;
  parts.tm_mon -= 1;
  std::time_t seconds = timegm(&parts);
  gmtime_r(&seconds, &parts);
  time.wYear = static_cast<WORD>(parts.tm_year + 1900);
  time.wMonth = static_cast<WORD>(parts.tm_mon + 1);
  time.wDayOfWeek = static_cast<WORD>(parts.tm_wday);
  time.wDay = static_cast<WORD>(parts.tm_mday);
  time.wHour = static_cast<WORD>(parts.tm_hour);
  time.wMinute = static_cast<WORD>(parts.tm_min);
  time.wSecond = static_cast<WORD>(parts.tm_sec);
  time.wMilliseconds = static_cast<WORD>(milliseconds);
  return time;
}

void PackJob(const Json& job, Packer<JOB_INFO_1W>* packer) {
  JOB_INFO_1W info{};
  info.JobId = job.value("job", DWORD{0});
  info.Status = job.value("status", DWORD{0});
  info.Priority = 1;
  info.Position = job.value("position", DWORD{0});
  info.Submitted = ParseTime(job.value("submitted", std::string()));
  packer->Add(info);
  packer->Text(&JOB_INFO_1W::pPrinterName, Field(job, "printer"));
  packer->Text(&JOB_INFO_1W::pMachineName, Field(job, "machine"));
  packer->Text(&JOB_INFO_1W::pUserName, Field(job, "user"));
  packer->Text(&JOB_INFO_1W::pDocument, Field(job, "document"));
  packer->Text(&JOB_INFO_1W::pDatatype, TEXT("RAW"));
  if (std::u16string reason = Field(job, "reason"); !reason.empty()) packer->Text(&JOB_INFO_1W::pStatus, reason);
}

}  // namespace

}  // namespace portwise::platform

using namespace portwise::platform;

BOOL WINAPI OpenPrinterW(LPWSTR name, LPHANDLE printer, PRINTER_DEFAULTSW*) {
  if (!printer) return Fail(ERROR_INVALID_PARAMETER);
  *printer = nullptr;
  if (!name || !*name) return Fail(ERROR_INVALID_PRINTER_NAME);
  auto reply = Order({{"op", "printer-get"}, {"name", ToUtf8(name)}});
  if (!reply) return FALSE;
  *printer = Handles().Add(reply->head.value("name", std::string()));
  return TRUE;
}

BOOL WINAPI ClosePrinter(HANDLE printer) { return Handles().Remove(printer) ? TRUE : Fail(ERROR_INVALID_HANDLE); }

BOOL WINAPI GetPrinterW(HANDLE printer, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed) {
  auto name = Handles().Find(printer);
  if (!name) return Fail(ERROR_INVALID_HANDLE);
  if (level != 2) return Fail(ERROR_INVALID_LEVEL);
  if (!needed) return Fail(ERROR_INVALID_PARAMETER);
  *needed = 0;
  auto reply = Order({{"op", "printer-get"}, {"name", *name}});
  if (!reply) return FALSE;
  Packer<PRINTER_INFO_2W> packer;
  PackPrinter(reply->head, &packer);
  return packer.Write(buffer, size, needed);
}

BOOL WINAPI EnumPrintersW(DWORD flags, LPWSTR name, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed,
                          LPDWORD returned) {
  if (level != 2) return Fail(ERROR_INVALID_LEVEL);
  if (!needed || !returned || (name && *name)) return Fail(ERROR_INVALID_PARAMETER);
  *needed = *returned = 0;
  auto reply = Order({{"op", "printer-list"}});
  if (!reply) return FALSE;
  Packer<PRINTER_INFO_2W> packer;
  DWORD count = 0;
  for (const Json& printer : Json::parse(reply->body, nullptr, false)) {
    if (!(flags & (PRINTER_ENUM_LOCAL | PRINTER_ENUM_SHARED))) break;
    bool shared = printer.value("attributes", DWORD{0}) & PRINTER_ATTRIBUTE_SHARED;
    if ((flags & PRINTER_ENUM_SHARED) && !shared) continue;
    PackPrinter(printer, &packer);
    ++count;
  }
  if (!packer.Write(buffer, size, needed)) return FALSE;
  *returned = count;
  return TRUE;
}

BOOL WINAPI GetJobW(HANDLE printer, DWORD job, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed) {
  auto name = Handles().Find(printer);
  if (!name) return Fail(ERROR_INVALID_HANDLE);
  if (level != 1) return Fail(ERROR_INVALID_LEVEL);
  if (!needed) return Fail(ERROR_INVALID_PARAMETER);
  *needed = 0;
  auto reply = Order({{"op", "job-get"}, {"printer", *name}, {"job", job}});
  if (!reply) return FALSE;
  Packer<JOB_INFO_1W> packer;
  PackJob(reply->head, &packer);
  return packer.Write(buffer, size, needed);
}

BOOL WINAPI SetJobW(HANDLE printer, DWORD job, DWORD level, LPBYTE buffer, DWORD command) {
  auto name = Handles().Find(printer);
  if (!name) return Fail(ERROR_INVALID_HANDLE);
  if (level != 0) return Fail(ERROR_INVALID_LEVEL);
  if (buffer) return Fail(ERROR_INVALID_PARAMETER);
  return Order({{"op", "job-control"}, {"printer", *name}, {"job", job}, {"command", command}}).has_value();
}
