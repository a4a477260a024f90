#include "host/cli/log_settings.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <sstream>

#include "host/cli/client.h"
#include "host/cli/registry_path.h"
#include "logging/log_value_names.h"
#include "platform/text.h"
#include "settings/logical_path.h"
#include "settings/printer_registry.h"
#include "settings/settings_catalogue.h"

namespace portwise {

namespace {

/// The conversions of a field's value, by the index of its kind: text, number, time.
constexpr DWORD kFormatOfKind[] = {0, 1, 3};

constexpr const char* kDefaultFields[] = {
    "StartTime EndTime PrinterName JobName UserName ClientName Size PageCount Warnings Errors Status",
    "StartTime PrinterName JobName UserName PageIndex Size",
    "Time PrinterName JobName UserName Type EventID Description",
};

OString KeyOf(const OString& name) { return OString(FindSetting(SettingId::LoggingKey).path) + "/" + EscapeName(name); }

std::string ToText(const OString& text) { return platform::ToUtf8(text.View()); }

bool SameName(const std::string& left, const std::string& right) {
  return OString(left, CP_UTF8).EqualsNoCase(OString(right, CP_UTF8));
}

/// "StartTime" becomes "Start time", "EventID" "Event ID".
std::string CaptionOf(const std::string& key) {
  std::string caption;
  for (std::size_t i = 0; i < key.size(); ++i) {
    const bool upper = std::isupper(static_cast<unsigned char>(key[i]));
    const bool word = i > 0 && upper && std::islower(static_cast<unsigned char>(key[i - 1]));
    const bool lowered = word && i + 1 < key.size() && std::islower(static_cast<unsigned char>(key[i + 1]));
    if (word) caption += ' ';
    caption += lowered ? static_cast<char>(std::tolower(static_cast<unsigned char>(key[i]))) : key[i];
  }
  return caption;
}

const LogFieldRow& RowOf(const std::string& key) {
  std::string known;
  for (const LogFieldRow& row : LogFields()) {
    if (SameName(row.key, key)) return row;
    known += std::string(known.empty() ? "" : ", ") + row.key;
  }
  throw CommandError("there is no field \"" + key + "\"; there are " + known);
}

bool SaveField(const PrinterRegistry& registry, const OString& fields, const logField& field) {
  const OString key = fields + "/" + EscapeName(field.key) + "/";
  return registry.SetString(key + log_value::kFieldName, field.name) &&
         registry.SetDword(key + log_value::kFormat, field.format) &&
         registry.SetDword(key + log_value::kFieldOrder, static_cast<DWORD>(field.order)) &&
         (field.parameters.IsEmpty() || registry.SetString(key + log_value::kFieldParameters, field.parameters));
}

}  // namespace

DWORD ValueOf(std::span<const LogChoice> choices, const std::string& what, const std::string& name) {
  std::string known;
  for (const LogChoice& choice : choices) {
    if (name == choice.name) return choice.value;
    known += std::string(known.empty() ? "" : ", ") + choice.name;
  }
  throw CommandError("there is no " + what + " " + name + "; there are " + known);
}

std::string NameOf(std::span<const LogChoice> choices, DWORD value) {
  for (const LogChoice& choice : choices) {
    if (value == choice.value) return choice.name;
  }
  return std::to_string(value);
}

std::vector<logField> ParseLogFields(const std::vector<std::string>& fields, LogType type, const OString& timeFormat) {
  std::vector<std::string> chosen = fields;
  if (chosen.empty()) {
    std::istringstream defaults(kDefaultFields[static_cast<DWORD>(type)]);
    chosen.assign(std::istream_iterator<std::string>(defaults), {});
  }
  std::vector<logField> parsed;
  for (const std::string& text : chosen) {
    const std::size_t equals = text.find('=');
    const LogFieldRow& row = RowOf(text.substr(0, equals));
    const std::string caption = equals == text.npos ? CaptionOf(row.key) : text.substr(equals + 1);
    for (const logField& other : parsed) {
      if (other.key == row.key) throw CommandError(std::string("the field ") + row.key + " comes twice");
    }
    logField field;
    field.key = row.key;
    field.name = OString(caption, CP_UTF8);
    field.format = kFormatOfKind[row.value({}, type).index()];
    field.order = static_cast<LONG>(parsed.size()) + 1;
    if (field.format == kFormatOfKind[2]) field.parameters = timeFormat;
    parsed.push_back(field);
  }
  return parsed;
}

std::string LogNameFault(const std::string& name) {
  if (name.empty()) return "a log has a name";
  if (platform::ToUtf16(name).size() > 200) return "the name of a log has at most 200 characters";
  const bool control = std::any_of(name.begin(), name.end(), [](unsigned char c) { return c < ' '; });
  if (control || name.find('\\') != name.npos) return "the name of a log holds no backslash and no control character";
  return {};
}

bool HasLog(const OString& printer, const OString& name) { return PrinterRegistry(printer).GetKeyInfo(KeyOf(name)); }

void SaveLog(const Log& log) {
  PrinterRegistry registry(log.printer);
  const OString key = KeyOf(log.name);
  registry.SetBasePath(key);
  bool saved = registry.SetDword(log_value::kLogType, log.logType) &&
               registry.SetDword(log_value::kFormat, log.format) &&
               registry.SetString(log_value::kDirectory, log.directory) &&
               registry.SetDword(log_value::kOrganization, log.organization) &&
               registry.SetDword(log_value::kDataOffset, log.dataOffset) &&
               registry.SetDword(log_value::kEventsFilter, log.eventsFilter) &&
               registry.SetBool(log_value::kDisplayEmptyFields, log.displayEmptyFields) &&
               registry.SetBool(log_value::kIncludeHeaderRecord, log.includeHeaderRecord);
  for (const logField& field : log.fields) saved = saved && SaveField(registry, key + "/" + log_value::kFields, field);
  // Last, so that a job that starts meanwhile does not write half a log.
  if (saved && registry.SetBool(log_value::kEnabled, log.enabled)) return;
  RemoveLog(log.printer, log.name);
  FailAtRegistry("the log " + ToText(log.name) + " cannot be saved");
}

bool RemoveLog(const OString& printer, const OString& name) {
  return HasLog(printer, name) && PrinterRegistry(printer).Delete(KeyOf(name), true);
}

}  // namespace portwise
