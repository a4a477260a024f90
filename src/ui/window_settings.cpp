#include "ui/window_settings.h"

#include "settings/driver_settings.h"
#include "settings/settings_catalogue.h"

namespace portwise {
namespace {

const char* PathOf(SettingId id) { return FindSetting(id).path; }

bool GetBool(const PrinterRegistry& registry, SettingId id) {
  return registry.GetBool(PathOf(id), FindSetting(id).number != 0);
}

LONG GetInt(const PrinterRegistry& registry, SettingId id) {
  return registry.GetInt(PathOf(id), static_cast<LONG>(FindSetting(id).number));
}

}  // namespace

WindowSettings::WindowSettings(const OString& printer)
    : registry_(printer),
      hideTitlebar_(GetBool(registry_, SettingId::WindowHideTitlebar)),
      alwaysOnTop_(GetBool(registry_, SettingId::WindowAlwaysOnTop)) {
  DriverSettings driver;
  driver.Init(registry_);
  showOnError_ = registry_.GetBool(PathOf(SettingId::WindowShowOnError), driver.GetShowOnError());
  showIcon_ = registry_.GetBool(PathOf(SettingId::WindowShowIcon), driver.GetShowIcon());
}

std::optional<POINT> WindowSettings::Position() const {
  const POINT corner = {GetInt(registry_, SettingId::WindowXPosition), GetInt(registry_, SettingId::WindowYPosition)};
  return corner.x >= 0 && corner.y >= 0 ? std::optional(corner) : std::nullopt;
}

OString WindowSettings::Language() const { return registry_.GetString(PathOf(SettingId::Language)); }

void WindowSettings::SavePosition(POINT corner) const {
  registry_.SetInt(PathOf(SettingId::WindowXPosition), corner.x);
  registry_.SetInt(PathOf(SettingId::WindowYPosition), corner.y);
}

void WindowSettings::SwitchIconOff() {
  registry_.SetBool(PathOf(SettingId::WindowShowIcon), false);
  showIcon_ = false;
}

void WindowSettings::Forget() const { registry_.Delete(PathOf(SettingId::WindowKey), true); }

}  // namespace portwise
