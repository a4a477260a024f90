#pragma once

#include <string>
#include <vector>

#include "settings/printer_registry.h"
#include "settings/settings_catalogue.h"

/// The settings of a printer by their paths below "Settings:", as the command line writes them. The catalogue says what
/// there is and how it is stored.
namespace portwise {

/// A setting with the value that it gets, or has.
struct PrinterSetting {
  const Setting* setting;
  std::string value;  ///< as people write it: "true", "2500"
};

/// The path below "Settings:".
std::string PathOf(const Setting& setting);

/// "PATH=VALUE", in any case. CommandError, with the nearest paths, when there is no such setting, and with what is
/// allowed when it cannot have that value.
PrinterSetting ParsePrinterSetting(const std::string& text);
/// "PATH" alone, for a setting that goes back to its default.
const Setting& ParseSettingPath(const std::string& path);

/// CommandError when the registry does not take it.
void SaveSetting(const PrinterRegistry& registry, const PrinterSetting& setting);
/// True when the setting was stored.
bool RemoveSetting(const PrinterRegistry& registry, const Setting& setting);

/// The settings that are stored and count as something else than their defaults, in the catalogue's order.
std::vector<PrinterSetting> ListChangedSettings(const PrinterRegistry& registry);

}  // namespace portwise
