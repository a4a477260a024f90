#include "logging/job_log_values.h"

#include <winspool.h>

#include <limits>

#include "core/open_printer.h"
#include "logging/log_events.h"
#include "settings/spooler_buffer.h"

namespace portwise {
namespace {

DWORD CategoryOf(DWORD event) {
  return event < kWarningCategory ? kInformationCategory : event < kErrorCategory ? kWarningCategory : kErrorCategory;
}

LONG Saturated(LONGLONG value) {
  constexpr LONG kLimit = std::numeric_limits<LONG>::max();
  return value > kLimit ? kLimit : static_cast<LONG>(value);
}

SYSTEMTIME Now() {
  SYSTEMTIME now = {};
  GetLocalTime(&now);
  return now;
}

/// Unchanged when the conversion fails.
void SetLocal(const SYSTEMTIME& utc, SYSTEMTIME* local) {
  FILETIME time = {};
  FILETIME localTime = {};
  SYSTEMTIME converted = {};
  if (SystemTimeToFileTime(&utc, &time) && FileTimeToLocalFileTime(&time, &localTime) &&
      FileTimeToSystemTime(&localTime, &converted)) {
    *local = converted;
  }
}

template <auto Member>
LogValue Get(const JobLogValues& values, LogType) {
  return values.*Member;
}

LogValue GetSize(const JobLogValues& values, LogType type) {
  return type == LogType::Jobs ? values.jobBytes : values.pageBytes;
}

LogValue GetPageIndex(const JobLogValues& values, LogType type) {
  switch (type) {
    case LogType::Pages:
      return values.pageIndex;
    case LogType::Events:
      return values.pageCount;
    default:
      return LONG{0};
  }
}

constexpr LogFieldRow kLogFields[] = {
    {"StartTime", Get<&JobLogValues::startTime>},
    {"EndTime", Get<&JobLogValues::endTime>},
    {"SubmittedTime", Get<&JobLogValues::submittedTime>},
    {"PrinterName", Get<&JobLogValues::printerName>},
    {"ModelName", Get<&JobLogValues::modelName>},
    {"Port", Get<&JobLogValues::portName>},
    {"JobName", Get<&JobLogValues::jobName>},
    {"UserName", Get<&JobLogValues::userName>},
    {"ClientName", Get<&JobLogValues::clientName>},
    {"Size", GetSize},
    {"RecordFileName", Get<&JobLogValues::recordFileName>},
    {"Type", Get<&JobLogValues::eventType>},
    {"EventID", Get<&JobLogValues::eventId>},
    {"Category", Get<&JobLogValues::eventCategory>},
    {"Time", Get<&JobLogValues::eventTime>},
    {"Description", Get<&JobLogValues::eventDescription>},
    {"PageIndex", GetPageIndex},
    {"PageCount", Get<&JobLogValues::pageCount>},
    {"Warnings", Get<&JobLogValues::warnings>},
    {"Errors", Get<&JobLogValues::errors>},
    {"Status", Get<&JobLogValues::status>},
};

}  // namespace

std::span<const LogFieldRow> LogFields() { return kLogFields; }

void JobLogValues::BeginJob(const OString& printer, const OString& port, const OString& recordFile) {
  printerName = printer;
  portName = port;
  recordFileName = recordFile;
  modelName = jobName = userName = clientName = status = OString();
  submittedTime = endTime = SYSTEMTIME();
  jobBytes = pageBytes = warnings = errors = pageCount = pageIndex = 0;
  startTime = Now();
}

void JobLogValues::FillFromSpooler(DWORD job) {
  const unique_printer printer = OpenPrinterByName(printerName, PRINTER_ALL_ACCESS);
  if (!printer) return;
  OBuffer buffer;
  const auto* info = FetchFromSpooler<JOB_INFO_2W>(buffer, [&](LPBYTE data, DWORD size, LPDWORD needed) {
    return GetJobW(printer.Get(), job, 2, data, size, needed);
  });
  if (!info) return;
  jobName = info->pDocument;
  const int dot = jobName.ReverseFind('.');
  if (dot >= 0) jobName = jobName.Left(dot);
  userName = info->pUserName;
  clientName = info->pMachineName;
  modelName = info->pDriverName;
  SetLocal(info->Submitted, &submittedTime);
}

void JobLogValues::AddBytes(DWORD count) {
  jobBytes = Saturated(LONGLONG{jobBytes} + count);
  pageBytes = Saturated(LONGLONG{pageBytes} + count);
}

void JobLogValues::SetEvent(DWORD id, const OString& description) {
  eventTime = Now();
  eventId = static_cast<LONG>(id);
  const DWORD category = CategoryOf(id);
  eventType = category == kErrorCategory ? "Error" : category == kWarningCategory ? "Warning" : "Information";
  eventCategory = static_cast<LONG>(category);
  eventDescription = description;
  // The id that names a category is not one of its events.
  if (category == kWarningCategory && id != category) warnings = Saturated(LONGLONG{warnings} + 1);
  if (category == kErrorCategory && id != category) errors = Saturated(LONGLONG{errors} + 1);
}

}  // namespace portwise
