#include "settings/driver_settings_core.h"

namespace portwise {
namespace {

/// What the ":Set" entry says of a value that was set in memory.
constexpr LONG kNumberSet = 2;
constexpr LONG kBoolSet = 3;

}  // namespace

void DriverSettingsCore::Init(const PrinterRegistry& registry) {
  OScopedLock lock(lock_);
  registry_ = std::make_unique<PrinterRegistry>(registry);
  registry_->SetBasePath("Settings:");
  Clear();
}

bool DriverSettingsCore::GetBool(const SettingKey& key, bool defaultValue) {
  OScopedLock lock(lock_);
  if (IsLoaded(key)) return OPropertySet::GetBool(key.value, defaultValue);
  const bool value = registry_ ? registry_->GetBool(key.value, defaultValue) : defaultValue;
  OPropertySet::SetBool(key.value, value);
  MarkLoaded(key);
  return value;
}

DWORD DriverSettingsCore::GetDword(const SettingKey& key, DWORD defaultValue) {
  OScopedLock lock(lock_);
  if (IsLoaded(key)) return OPropertySet::GetDword(key.value, defaultValue);
  const DWORD value = registry_ ? registry_->GetDword(key.value, defaultValue) : defaultValue;
  OPropertySet::SetDword(key.value, value);
  MarkLoaded(key);
  return value;
}

OString DriverSettingsCore::GetString(const SettingKey& key, const OString& defaultValue) {
  OScopedLock lock(lock_);
  if (IsLoaded(key)) return OPropertySet::GetString(key.value, defaultValue);
  const OString value = registry_ ? registry_->GetString(key.value, defaultValue) : defaultValue;
  OPropertySet::SetString(key.value, value);
  MarkLoaded(key);
  return value;
}

void DriverSettingsCore::SetDword(const SettingKey& key, DWORD value) {
  OScopedLock lock(lock_);
  OPropertySet::SetDword(key.value, value);
  MarkLoaded(key);
  OPropertySet::SetInt(key.set, kNumberSet);
}

void DriverSettingsCore::SetBool(const SettingKey& key, bool value) {
  OScopedLock lock(lock_);
  OPropertySet::SetBool(key.value, value);
  MarkLoaded(key);
  OPropertySet::SetInt(key.set, kBoolSet);
}

}  // namespace portwise
