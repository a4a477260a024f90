#include "logging/log.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "core/file.h"
#include "core/folders.h"
#include "logging/log_events.h"
#include "logging/log_formatter_csv.h"
#include "logging/log_formatter_linear.h"
#include "logging/log_formatter_system_event.h"
#include "logging/log_value_names.h"
#include "settings/printer_registry.h"
#include "settings/settings_catalogue.h"

namespace portwise {
namespace {

OString LoggingKey() { return FindSetting(SettingId::LoggingKey).path; }

logField LoadField(const OString& printer, const OString& fields, const OString& key) {
  PrinterRegistry registry(printer);
  registry.SetBasePath(fields + "/" + EscapeName(key));
  return {key, registry.GetString(log_value::kFieldName), registry.GetDword(log_value::kFormat),
          static_cast<LONG>(registry.GetDword(log_value::kFieldOrder)),
          registry.GetString(log_value::kFieldParameters)};
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

const char* Extension(DWORD format) { return format == kLogCsv ? ".csv" : format == kLogSystemEvent ? "" : ".txt"; }

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
  log.enabled = registry.GetBool(log_value::kEnabled, false);
  log.logType = registry.GetDword(log_value::kLogType);
  log.format = registry.GetDword(log_value::kFormat);
  log.documentName = documentName;
  log.directory = registry.GetString(log_value::kDirectory);
  log.organization = registry.GetDword(log_value::kOrganization);
  log.dataOffset = registry.GetDword(log_value::kDataOffset);
  log.eventsFilter = registry.GetDword(log_value::kEventsFilter);
  log.displayEmptyFields = registry.GetBool(log_value::kDisplayEmptyFields, false);
  log.includeHeaderRecord = registry.GetBool(log_value::kIncludeHeaderRecord, false);
  const OString fields = key + "/" + log_value::kFields;
  OStringArray keys;
  registry.EnumKeys(fields, &keys);
  for (const OString& fieldKey : keys) {
    logField field = LoadField(printer, fields, fieldKey);
    const auto place = std::find_if(log.fields.begin(), log.fields.end(),
                                    [&field](const logField& other) { return other.order >= field.order; });
    log.fields.insert(place, std::move(field));
  }
  return log;
}

bool Log::Admits(DWORD eventId) const {
  const auto* kind = std::find_if(std::begin(kLogEventKinds), std::end(kLogEventKinds),
                                  [eventId](const LogEventKind& each) { return each.Has(eventId); });
  // What is of no kind is always wanted.
  return kind == std::end(kLogEventKinds) || (eventsFilter & kind->filter);
}

OString Log::FileName() const {
  const char* const extension = Extension(format);
  switch (organization) {
    case kLogByLog:
      return AsFileName(name) + extension;
    case kLogByDocument:
      return documentName.IsEmpty() ? OString() : AsFileName(documentName) + extension;
    case kLogByDate:
      return DateName() + extension;
    case kLogByNumber:
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
    case kLogCsv: {
      auto formatter = std::make_unique<LogFormatterCSV>();
      formatter->SetPath(FilePath());
      formatter->SetIncludeHeaderRecord(includeHeaderRecord);
      return formatter;
    }
    case kLogLinear:
    case kLogLinearToo: {
      auto formatter = std::make_unique<LogFormatterLinear>();
      formatter->SetPath(FilePath());
      formatter->SetDataOffset(static_cast<LONG>(dataOffset));
      formatter->SetDisplayEmptyFields(displayEmptyFields);
      return formatter;
    }
    case kLogSystemEvent:
      return std::make_unique<LogFormatterSystemEvent>();
    default:
      return nullptr;
  }
}

}  // namespace portwise
