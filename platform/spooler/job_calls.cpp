#include <windows.h>
#include <winspool.h>

#include <algorithm>
#include <chrono>
#include <cstdio>

#include "platform/kernel/fail.h"
#include "platform/spooler/packer.h"
#include "platform/spooler/printer_handles.h"
#include "platform/text.h"

namespace portwise::platform {

namespace {

using Json = nlohmann::json;

/// The time of a text such as "2024-02-29T23:59:58.125Z"; all zero for another text.
SYSTEMTIME ParseTime(const std::string& text) {
  unsigned short year, month, day, hour, minute, second, milliseconds;
  if (std::sscanf(text.c_str(), "%hu-%hu-%huT%hu:%hu:%hu.%hu", &year, &month, &day, &hour, &minute, &second,
                  &milliseconds) != 7)
    return {};
  const std::chrono::sys_days date(std::chrono::year(year) / month / day);
  const auto weekday = static_cast<WORD>(std::chrono::weekday(date).c_encoding());
  return {year, month, weekday, day, hour, minute, second, milliseconds};
}

/// A field for a member that holds UTF-16, or bytes of the ANSI code page, which is UTF-8.
template <class Info>
void PackText(LPWSTR Info::*member, const Json& job, const char* field, Packer<Info>* packer) {
  packer->Text(member, Field(job, field));
}
template <class Info>
void PackText(LPSTR Info::*member, const Json& job, const char* field, Packer<Info>* packer) {
  packer->Text(member, job.value(field, std::string()));
}

/// The members that all structures have.
template <class Info>
void PackJob(const Json& job, Info info, Packer<Info>* packer) {
  info.JobId = job.value("job", DWORD{0});
  info.Status = job.value("status", DWORD{0});
  info.Priority = DEF_PRIORITY;
  info.Position = job.value("position", DWORD{0});
  info.Submitted = ParseTime(job.value("submitted", std::string()));
  packer->Add(info);
  PackText(&Info::pPrinterName, job, "printer", packer);
  PackText(&Info::pMachineName, job, "machine", packer);
  PackText(&Info::pUserName, job, "user", packer);
  PackText(&Info::pDocument, job, "document", packer);
  PackText(&Info::pDatatype, {{"datatype", "RAW"}}, "datatype", packer);
  // What was said of the job counts before the queue's own reason.
  for (const char* field : {"statusText", "reason"}) {
    if (job.value(field, std::string()).empty()) continue;
    PackText(&Info::pStatus, job, field, packer);
    break;
  }
}

/// Text members are null when there is no text.
void PackJob2(const Json& job, Packer<JOB_INFO_2W>* packer) {
  JOB_INFO_2W info{};
  info.Size = static_cast<DWORD>(std::min<std::uint64_t>(job.value("size", std::uint64_t{0}), UINT32_MAX));
  PackJob(job, info, packer);
  packer->Text(&JOB_INFO_2W::pNotifyName, Field(job, "user"));
  packer->Text(&JOB_INFO_2W::pDriverName, Field(job, "driver"));
}

/// The order that gives a job the changeable members of `info`.
Json ChangeOrder(const OpenedPrinter& printer, DWORD job, const JOB_INFO_1W& info) {
  Json order{
      {"op", "job-set"},       {"printer", printer.name},     {"access", printer.access},  {"job", job},
      {"status", info.Status}, {"statusText", std::string()}, {"priority", info.Priority}, {"position", info.Position}};
  struct {
    const char* field;
    LPWSTR text;
  } const texts[] = {{"document", info.pDocument}, {"datatype", info.pDatatype}, {"statusText", info.pStatus}};
  for (const auto& row : texts) {
    if (row.text) order[row.field] = ToUtf8(row.text);
  }
  return order;
}

}  // namespace

}  // namespace portwise::platform

using namespace portwise::platform;

BOOL WINAPI GetJobW(HANDLE printer, DWORD job, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed) {
  auto opened = FindPrinterHandle(printer);
  if (!opened) return FALSE;
  if (level != 1 && level != 2) return Fail(ERROR_INVALID_LEVEL);
  if (!needed) return Fail(ERROR_INVALID_PARAMETER);
  *needed = 0;
  auto reply = Order({{"op", "job-get"}, {"printer", opened->name}, {"job", job}});
  if (!reply) return FALSE;
  if (level == 2) {
    Packer<JOB_INFO_2W> packer;
    PackJob2(reply->head, &packer);
    return packer.Write(buffer, size, needed);
  }
  Packer<JOB_INFO_1W> packer;
  PackJob(reply->head, JOB_INFO_1W{}, &packer);
  return packer.Write(buffer, size, needed);
}

BOOL WINAPI EnumJobsA(HANDLE printer, DWORD first, DWORD count, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed,
                      LPDWORD returned) {
  auto opened = FindPrinterHandle(printer);
  if (!opened) return FALSE;
  if (level != 1) return Fail(ERROR_INVALID_LEVEL);
  if (!needed || !returned) return Fail(ERROR_INVALID_PARAMETER);
  *needed = *returned = 0;
  Packer<JOB_INFO_1A> packer;
  DWORD place = 0, listed = 0;
  for (Json page{{"last", 0u}, {"more", true}}; listed < count && page.value("more", false);) {
    auto reply = Order({{"op", "job-list"}, {"printer", opened->name}, {"after", page.value("last", 0u)}});
    if (!reply) return FALSE;
    page = reply->head;
    for (const Json& job : Json::parse(reply->body, nullptr, false)) {
      if (place++ < first || listed == count) continue;
      PackJob(job, JOB_INFO_1A{}, &packer);
      ++listed;
    }
  }
  if (!packer.Write(buffer, size, needed)) return FALSE;
  *returned = listed;
  return TRUE;
}

BOOL WINAPI SetJobW(HANDLE printer, DWORD job, DWORD level, LPBYTE buffer, DWORD command) {
  auto opened = FindPrinterHandle(printer);
  if (!opened) return FALSE;
  if (level > 1) return Fail(ERROR_INVALID_LEVEL);
  if ((buffer != nullptr) != (level == 1)) return Fail(ERROR_INVALID_PARAMETER);
  if (level == 1) {
    if (!Order(ChangeOrder(*opened, job, *reinterpret_cast<const JOB_INFO_1W*>(buffer)))) return FALSE;
    if (command == 0) return TRUE;
  }
  return Order({{"op", "job-control"}, {"printer", opened->name}, {"job", job}, {"command", command}}).has_value();
}
