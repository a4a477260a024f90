// Writes docs/settings.md from the catalogue of settings.

#include <string>

#include "docs/generators/page.h"
#include "settings/settings_catalogue.h"

namespace portwise {
namespace {

constexpr char kHead[] =
    "# Settings\n"
    "\n"
    "Made by `portwise-settings-page` from `src/settings/settings_catalogue.cpp`; change the table there.\n"
    "\n"
    "What stands under `Settings:` is read when a job starts, unless it was within the last second, and between jobs\n"
    "after some seconds; while a job runs it stays as it is. The delayed close period is read at most every five\n"
    "seconds, `GLOBAL:Development` when a port opens and a job starts, Known Bidirectional once for a printer's name,\n"
    "everything else whenever it is needed. The status window reads what it needs in each tick, the interval, the\n"
    "language and its place when it opens. A value that is missing, or of another length than its type's, counts as\n"
    "its default. A bool is one byte, a number is four bytes, whatever the registry calls their type.\n"
    "`portwise registry set PATH VALUE --type bool|dword|int|string` writes one. What is not read yet can be set\n"
    "and has no effect.\n"
    "\n"
    "| root | where it is |\n"
    "|---|---|\n"
    "| `Settings:`, `SECURITY:` | `Settings` and `Security` below `DATA:` |\n"
    "| `DATA:` | the printer's driver data: `PRINT:Printers/[PRINTER]/PrinterDriverData` |\n"
    "| `UserSettings:` | one user's choices for one printer: "
    "`HKEY_CURRENT_USER\\SOFTWARE\\Corvane\\Drivers\\Printers\\[PRINTER]\\Settings` |\n"
    "| `NETWORK:` | `LOCAL:Network/@[SERVER]`, the computer that the printer belongs to |\n"
    "| `LOCAL:` | `HKEY_LOCAL_MACHINE\\SOFTWARE\\Corvane\\Drivers` |\n"
    "| `GLOBAL:` | `LOCAL:Global Settings` |\n"
    "| `PRINT:` | `HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Print` |\n"
    "\n"
    "The first four depend on a printer; `portwise registry` takes the paths of the others. For a printer of another\n"
    "computer S all of them lie below `HKEY_CURRENT_USER\\SOFTWARE\\Corvane\\Drivers\\@S`.\n"
    "\n"
    "| path | type | default | unit | meaning |\n"
    "|---|---|---|---|---|\n";

const char* KindName(SettingKind kind) {
  switch (kind) {
    case SettingKind::Bool:
      return "bool";
    case SettingKind::Number:
      return "number";
    case SettingKind::SignedNumber:
      return "signed number";
    case SettingKind::Text:
      return "string";
    case SettingKind::Key:
      return "key";
    case SettingKind::Any:
      return "any";
  }
  return "";
}

std::string Default(const Setting& setting) {
  if (setting.defaultWords) return setting.defaultWords;
  switch (setting.kind) {
    case SettingKind::Bool:
      return setting.number ? "true" : "false";
    case SettingKind::Number:
      return std::to_string(setting.number);
    case SettingKind::SignedNumber:
      return std::to_string(static_cast<LONG>(setting.number));
    case SettingKind::Text:
      return "empty";
    default:
      return "";
  }
}

std::string Document() {
  std::string text = kHead;
  for (int id = 0; id < static_cast<int>(SettingId::Count); ++id) {
    const Setting& setting = FindSetting(static_cast<SettingId>(id));
    text += std::string("| `") + setting.path + "` | " + KindName(setting.kind) + " | " + Default(setting) + " | " +
            (setting.unit ? setting.unit : "") + " | " + setting.meaning +
            (setting.use == SettingUse::NotReadYet ? " **Not read yet.**" : "") + " |\n";
  }
  return text;
}

}  // namespace
}  // namespace portwise

int main(int argc, char** argv) { return portwise::RunGenerator(argc, argv, portwise::Document()); }
