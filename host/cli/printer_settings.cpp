#include "host/cli/printer_settings.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

#include "host/cli/client.h"
#include "host/cli/parse.h"
#include "host/cli/registry_path.h"
#include "platform/text.h"

namespace portwise {

namespace {

constexpr char kRoot[] = "Settings:";
/// How many paths a mistyped one is answered with.
constexpr std::size_t kNearest = 3;

constexpr struct {
  const char* word;
  bool value;
} kBoolWords[] = {{"true", true}, {"false", false}, {"yes", true}, {"no", false},
                  {"on", true},   {"off", false},   {"1", true},   {"0", false}};

bool SameText(const std::string& left, const std::string& right) {
  return OString(left, CP_UTF8).EqualsNoCase(OString(right, CP_UTF8));
}

std::vector<const Setting*> AllSettings() {
  std::vector<const Setting*> settings;
  for (int id = 0; id < static_cast<int>(SettingId::Count); ++id) {
    const Setting& setting = FindSetting(static_cast<SettingId>(id));
    if (setting.kind != SettingKind::Key && std::strncmp(setting.path, kRoot, sizeof kRoot - 1) == 0)
      settings.push_back(&setting);
  }
  return settings;
}

/// The least number of letters to change, add or drop that makes one text of the other; case does not count.
std::size_t Distance(const std::string& left, const std::string& right) {
  std::vector<std::size_t> row(right.size() + 1);
  for (std::size_t column = 0; column < row.size(); ++column) row[column] = column;
  for (std::size_t i = 0; i < left.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < right.size(); ++j) {
      const std::size_t replaced = diagonal + (SameText({left[i]}, {right[j]}) ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
    }
  }
  return row.back();
}

/// A path is often given without its folder, so the name alone is compared as well.
std::size_t DistanceOf(const std::string& path, const Setting& setting) {
  const std::string full = PathOf(setting);
  return std::min(Distance(path, full), Distance(path, full.substr(full.rfind('/') + 1)));
}

std::string NearestPaths(const std::string& path) {
  std::vector<std::pair<std::size_t, const Setting*>> rows;
  // No path is that long, and each letter costs time.
  const std::string start = path.substr(0, 100);
  for (const Setting* setting : AllSettings()) rows.emplace_back(DistanceOf(start, *setting), setting);
  std::stable_sort(rows.begin(), rows.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  std::string paths;
  for (std::size_t i = 0; i < std::min(kNearest, rows.size()); ++i)
    paths += (i == 0 ? "\"" : ", \"") + PathOf(*rows[i].second) + "\"";
  return paths;
}

bool ParseBool(const std::string& text) {
  for (const auto& row : kBoolWords) {
    if (SameText(text, row.word)) return row.value;
  }
  throw CommandError("it is true or false");
}

DWORD ParseSettingNumber(const Setting& setting, const std::string& text) {
  const std::string unit = setting.unit ? std::string(" ") + setting.unit : "";
  const std::string allowed = "it is a number from 0 to " + std::to_string(setting.largest) + unit;
  DWORD number = 0;
  try {
    number = ParseNumber<DWORD>(text);
  } catch (const CommandError&) {
    throw CommandError(allowed);
  }
  if (number > setting.largest) throw CommandError(allowed);
  return number;
}

OString ParseText(const std::string& text) {
  const OString value(text, CP_UTF8);
  if ((value.View().size() + 1) * sizeof(WCHAR) > ORegistry::kMaxTextBytes) {
    throw CommandError("it is a text of at most " + std::to_string(ORegistry::kMaxTextBytes / sizeof(WCHAR) - 1) +
                       " characters");
  }
  return value;
}

/// The value as it is written when it is shown: "on" becomes "true", "007" becomes "7".
std::string Normal(const Setting& setting, const std::string& text) {
  switch (setting.kind) {
    case SettingKind::Bool:
      return ParseBool(text) ? "true" : "false";
    case SettingKind::Number:
      return std::to_string(ParseSettingNumber(setting, text));
    default:
      ParseText(text);
      return text;
  }
}

/// The stored value; nothing when there is none, or one that counts as the default.
std::optional<std::string> StoredValue(const PrinterRegistry& registry, const Setting& setting) {
  const OString path(setting.path);
  DWORD size = 0;
  if (!registry.GetValueInfo(path, nullptr, &size)) return std::nullopt;
  switch (setting.kind) {
    case SettingKind::Bool:
      if (size != 1) return std::nullopt;
      return registry.GetBool(path) ? "true" : "false";
    case SettingKind::Number: {
      const DWORD number = registry.GetDword(path);
      if (size != sizeof number || number > setting.largest) return std::nullopt;
      return std::to_string(number);
    }
    default:
      return platform::ToUtf8(registry.GetString(path).View());
  }
}

/// A default that is not a constant has no text.
std::optional<std::string> DefaultValue(const Setting& setting) {
  if (setting.defaultWords) return std::nullopt;
  if (setting.kind == SettingKind::Bool) return setting.number ? "true" : "false";
  return setting.kind == SettingKind::Text ? std::string() : std::to_string(setting.number);
}

}  // namespace

std::string PathOf(const Setting& setting) { return setting.path + sizeof kRoot - 1; }

const Setting& ParseSettingPath(const std::string& path) {
  for (const Setting* setting : AllSettings()) {
    if (SameText(path, PathOf(*setting)) || SameText(path, setting->path)) return *setting;
  }
  throw CommandError("there is no setting \"" + path + "\"; the nearest are " + NearestPaths(path));
}

PrinterSetting ParsePrinterSetting(const std::string& text) {
  const std::size_t equals = text.find('=');
  if (equals == text.npos) throw CommandError(text + ": a setting is given as PATH=VALUE");
  const Setting& setting = ParseSettingPath(text.substr(0, equals));
  const std::string value = text.substr(equals + 1);
  try {
    return {&setting, Normal(setting, value)};
  } catch (const CommandError& error) {
    throw CommandError("\"" + PathOf(setting) + "\" cannot be \"" + value + "\"; " + error.what());
  }
}

void SaveSetting(const PrinterRegistry& registry, const PrinterSetting& setting) {
  const OString path(setting.setting->path);
  bool saved = false;
  switch (setting.setting->kind) {
    case SettingKind::Bool:
      saved = registry.SetBool(path, ParseBool(setting.value));
      break;
    case SettingKind::Number:
      saved = registry.SetDword(path, ParseNumber<DWORD>(setting.value));
      break;
    default:
      saved = registry.SetString(path, ParseText(setting.value));
  }
  if (!saved) FailAtRegistry("the setting \"" + PathOf(*setting.setting) + "\" cannot be saved");
}

bool RemoveSetting(const PrinterRegistry& registry, const Setting& setting) {
  OString key = registry.BasePath();
  OString name = setting.path;
  // A key of the same name, as a log may have, stays.
  return registry.GetValueInfo(setting.path) && registry.Resolve(&key, &name) && registry.DeleteValue(key, name);
}

std::vector<PrinterSetting> ListChangedSettings(const PrinterRegistry& registry) {
  std::vector<PrinterSetting> changed;
  for (const Setting* setting : AllSettings()) {
    const std::optional<std::string> value = StoredValue(registry, *setting);
    if (value && value != DefaultValue(*setting)) changed.push_back({setting, *value});
  }
  return changed;
}

}  // namespace portwise
