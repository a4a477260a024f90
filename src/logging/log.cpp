#include "logging/log.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "core/file.h"
#include "core/folders.h"
#include "logging/log_formatter_csv.h"
#include "logging/log_formatter_linear.h"
#include "logging/log_formatter_system_event.h"
#include "settings/printer_registry.h"
#include "settings/settings_catalogue.h"

namespace portwise {
namespace {

enum Format : DWORD { kCsv = 0, kLinear = 1, kSystemEvent = 2, kLinearToo = 3 };
enum Organization : DWORD { kByLog = 0, kByDocument = 1, kByDate = 2, kByNumber = 3 };

struct EventRow {
  DWORD first;
  DWORD last;
  DWORD filter;
};

/// Events of no row are always wanted.
constexpr EventRow kEvents[] = {
    {1, 2, 0x01},     {200, 200, 0x01}, {301, 304, 0x02}, {901, 908, 0x04},
    {100, 100, 0x10}, {101, 101, 0x20}, {102, 102, 0x40}, {103, 103, 0x80},
};

OString LoggingKey() { return FindSetting(SettingId::LoggingKey).path; }

logField LoadField(const OString& printer, const OString& fields, const OString& key) {
  PrinterRegistry registry(printer);
  registry.SetBasePath(fields + "/" + EscapeName(key));
  return {key, registry.GetString("Name"), registry.GetDword("Format"), static_cast<LONG>(registry.GetDword("Order")),
          registry.GetString("Parameters")};
}

/// A name that people gave must not lead to another folder, nor to a device.
OString AsFileName(OString name) {
  for (const char* forbidden : {"<", ">", ":", "/", "\\", "|", "*", "?", "\""}) name.Replace(forbidden, "_");
  for (char control = 1; control < ' '; ++control) name.Replace(OString(std::string_view(&control, 1)), "_");
  return AvoidDeviceName(name);
}

OString DateName() {
  SYSTEMTIME now = {};
  GetSystemTime(&now);
  char text[24];
  std::snprintf(text, sizeof text, "%02u%02u%u", now.wMonth, now.wDay, now.wYear);
  return text;
}

const char* Extension(DWORD format) { return format == kCsv ? ".csv" : format == kSystemEvent ? "" : ".txt"; }

}  // namespace

std::vector<OString> LogNames(const OString& printer) {
  OStringArray names;
  PrinterRegistry(printer).EnumKeys(LoggingKey(), &names);
  return std::vector<OString>(names.begin(), names.end());
}

Log Log::Load(const OString& printer, const OString& name, const OString& documentName) {
  const OString key = LoggingKey() + "/" + EscapeName(name);
  PrinterRegistry registry(printer);
  registry.SetBasePath(key);
  Log log;
  log.printer = printer;
  log.name = name;
  log.enabled = registry.GetBool("Enabled", false);
  log.logType = registry.GetDword("LogType");
  log.format = registry.GetDword("Format");
  log.documentName = documentName;
  log.directory = registry.GetString("LoggingDirectory");
  log.organization = registry.GetDword("LogOrganization");
  log.dataOffset = registry.GetDword("DataOffset");
  log.eventsFilter = registry.GetDword("EventsFilter");
  log.displayEmptyFields = registry.GetBool("DisplayEmptyFields", false);
  log.includeHeaderRecord = registry.GetBool("IncludeHeaderRecord", false);
  OStringArray keys;
  registry.EnumKeys(key + "/Fields", &keys);
  for (const OString& fieldKey : keys) {
    logField field = LoadField(printer, key + "/Fields", fieldKey);
    const auto place = std::find_if(log.fields.begin(), log.fields.end(),
                                    [&field](const logField& other) { return other.order >= field.order; });
    log.fields.insert(place, std::move(field));
  }
  return log;
}

bool Log::Admits(DWORD eventId) const {
  const auto row = std::find_if(std::begin(kEvents), std::end(kEvents), [eventId](const EventRow& event) {
    return eventId >= event.first && eventId <= event.last;
  });
  return row == std::end(kEvents) || (eventsFilter & row->filter);
}

OString Log::FileName() const {
  const char* const extension = Extension(format);
  switch (organization) {
    case kByLog:
      return AsFileName(name) + extension;
    case kByDocument:
      return documentName.IsEmpty() ? OString() : AsFileName(documentName) + extension;
    case kByDate:
      return DateName() + extension;
    case kByNumber:
      for (ULONGLONG number = 1;; ++number) {
        const OString candidate = AsFileName(name) + "_" + OString::FromUnsigned(number) + extension;
        OFile existing;
        if (!existing.Open(directory + "\\" + candidate, 0)) return candidate;
      }
    default:
      return OString();
  }
}

OString Log::FilePath() const { return directory + "\\" + FileName(); }

std::unique_ptr<LogFormatter> Log::MakeFormatter() const {
  switch (format) {
    case kCsv: {
      auto formatter = std::make_unique<LogFormatterCSV>();
      formatter->SetPath(FilePath());
      formatter->SetIncludeHeaderRecord(includeHeaderRecord);
      return formatter;
    }
    case kLinear:
    case kLinearToo: {
      auto formatter = std::make_unique<LogFormatterLinear>();
      formatter->SetPath(FilePath());
      formatter->SetDataOffset(static_cast<LONG>(dataOffset));
      formatter->SetDisplayEmptyFields(displayEmptyFields);
      return formatter;
    }
    case kSystemEvent:
      return std::make_unique<LogFormatterSystemEvent>();
    default:
      return nullptr;
  }
}

}  // namespace portwise
