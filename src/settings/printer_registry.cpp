#include "settings/printer_registry.h"

#include "settings/printer_info.h"

namespace portwise {
namespace {

const RootRow (&PrinterRootRows())[12] {
  // Never destroyed: ports may be closed after the library's static objects are gone.
  struct Table {
    RootRow rows[12];
  };
  static const Table& table = *new Table{{
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
  }};
  return table.rows;
}

/// Where the keys of another computer's printers lie instead.
struct Redirection {
  OString from;
  OString to;  // below the current user's part; "%3A" is a colon in the key's name
};
const Redirection (&Redirections())[3] {
  // Never destroyed: ports may be closed after the library's static objects are gone.
  struct Table {
    Redirection rows[3];
  };
  static const Table& table = *new Table{{
      {"2:SYSTEM/CurrentControlSet/Control/Print", "PRINT%3A"},
      {"2:SOFTWARE/Corvane/Drivers", "LOCAL%3A"},
      {"1:SOFTWARE/Corvane/Drivers", "USER%3A"},
  }};
  return table.rows;
}

/// Whether `component` with the separator in front of it is a whole component of the key.
bool HasComponent(const OString& key, const OString& component) {
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
    const bool isName = HasComponent(rooted, OString("/") + row.from) || HasComponent(rooted, OString("/@") + row.from);
    if (row.to.IsEmpty() && isName) return OString();
  }
  return ORegistry::TranslateRoots(ReplaceRoots(rooted, placeholders));
}

OString PrinterRegistry::Redirect(const OString& key) const {
  if (!redirect_) return key;
  for (const Redirection& row : Redirections()) {
    if (!key.StartsWithNoCase(row.from)) continue;
    OString redirected("1:SOFTWARE/Corvane/Drivers/");
    if (remote_) redirected += OString("@") + EscapeName(serverName_) + "/";
    return redirected + row.to + key.Mid(row.from.Length());
  }
  return key;
}

unique_registry_key PrinterRegistry::OpenKey(const OString& key, bool create) const {
  return ORegistry::OpenKey(Redirect(key), create);
}

bool PrinterRegistry::DeleteKey(const OString& parent, const OString& subKey) const {
  if (subKey.IsEmpty()) return false;
  // Together, since a redirected key may have a parent that is not.
  OString key, name;
  if (!SplitPath(Redirect(ChildPath(parent, subKey)), &key, &name)) return false;
  const unique_registry_key open = ORegistry::OpenKey(key, false);
  return open && RegDeleteKeyW(open.Get(), name.Wide()) == ERROR_SUCCESS;
}

}  // namespace portwise
