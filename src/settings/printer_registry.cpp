#include "settings/printer_registry.h"

#include "settings/printer_info.h"

namespace portwise {
namespace {

const RootRow (&PrinterRootRows())[12] {
  static const RootRow rows[] = {
      {"STOCK:", "LOCAL:Paper Sizes"},
      {"SETTINGS:", "DATA:Settings"},
      {"SECURITY:", "DATA:Security"},
      {"CACHE:", "DATA:Cache"},
      {"FONTS:", "DATA:Downloaded Fonts"},
      {"PRESETS:", "DATA:Presets"},
      {"DEBUG:", "DATA:Development"},
      {"USERSETTINGS:", "USER:Printers/[PRINTER]/Settings"},
      {"DATA:", "PRINT:Printers/[PRINTER]/PrinterDriverData"},
      {"MODEL:", "PRINT:Printers/[PRINTER]/PrinterDriverData/Model"},
      {"MONITOR:", "PRINT:Monitors/Corvane Network Monitor"},
      {"NETWORK:", "LOCAL:Network/@[SERVER]"},
  };
  return rows;
}

/// Where the keys of another computer's printers lie instead.
struct Redirection {
  OString from;
  OString to;  // below the current user's part; "%3A" is a colon in the key's name
};
const Redirection (&Redirections())[3] {
  static const Redirection rows[] = {
      {"2:SYSTEM/CurrentControlSet/Control/Print", "PRINT%3A"},
      {"2:SOFTWARE/Corvane/Drivers", "LOCAL%3A"},
      {"1:SOFTWARE/Corvane/Drivers", "USER%3A"},
  };
  return rows;
}

/// Whether `name` is a whole component of the key.
bool HasComponent(const OString& key, const OString& name) {
  const OString component = OString("/") + name;
  for (int at = key.Find(component); at >= 0; at = key.Find(component, at + 1)) {
    const WCHAR next = key[at + component.Length()];
    if (next == 0 || next == '/') return true;
  }
  return false;
}

}  // namespace

PrinterRegistry::PrinterRegistry(const OString& printerName) {
  const PrinterInfo info(printerName);
  printerName_ = info.printerName;
  shortName_ = info.shortName;
  modelName_ = info.driverName;
  portName_ = info.portName;
  serverName_ = info.serverName;
  oemCode_ = info.oemCode;
  remote_ = redirect_ = info.remote;
}

OString PrinterRegistry::TranslateRoots(const OString& key) const {
  const RootRow placeholders[] = {
      {"[PRINTER]", EscapeName(shortName_)},
      {"[MODEL]", EscapeName(modelName_)},
      {"[PORT]", EscapeName(portName_)},
      {"[SERVER]", EscapeName(serverName_)},
      {"[OEM]", oemCode_},
  };
  const OString rooted = ReplaceRoots(key, PrinterRootRows());
  for (const RootRow& row : placeholders) {
    // Without the name, the rest would be that of another key, and perhaps of all printers.
    if (row.to.IsEmpty() && HasComponent(rooted, row.from)) return OString();
  }
  return ORegistry::TranslateRoots(ReplaceRoots(rooted, placeholders));
}

unique_registry_key PrinterRegistry::OpenKey(const OString& key, bool create) const {
  if (!redirect_) return ORegistry::OpenKey(key, create);
  for (const Redirection& row : Redirections()) {
    if (!key.StartsWithNoCase(row.from)) continue;
    OString redirected("1:SOFTWARE/Corvane/Drivers/");
    if (remote_) redirected += OString("@") + EscapeName(serverName_) + "/";
    return ORegistry::OpenKey(redirected + row.to + key.Mid(row.from.Length()), create);
  }
  return ORegistry::OpenKey(key, create);
}

}  // namespace portwise
