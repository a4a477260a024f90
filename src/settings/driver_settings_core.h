#pragma once

#include <memory>

#include "core/property_set.h"
#include "core/synchronizer.h"
#include "settings/printer_registry.h"

namespace portwise {

/// The names under which the cache keeps one setting. Made once for a setting that is read often.
struct SettingKey {
  explicit SettingKey(const OString& key) : value(key), loaded(key + ":Loaded"), set(key + ":Set") {}

  OString value;   ///< relative to "Settings:"; its value as text
  OString loaded;  ///< "1" once there is a value
  OString set;     ///< "2" or "3" once a number or a boolean was set in memory
};

/// A printer's settings, each read from the registry once and kept until Init. What was read is kept even when it was
/// missing and the default took its place. Any thread: every call runs under one lock, the read of the registry too, so
/// that two threads that miss at once cause one read.
class DriverSettingsCore : private OPropertySet {
 public:
  /// Forgets all values, those that were set too, and reads from now on through a copy of `registry`.
  void Init(const PrinterRegistry& registry);

  bool GetBool(const SettingKey& key, bool defaultValue);
  /// The default also when the cached text is empty.
  DWORD GetDword(const SettingKey& key, DWORD defaultValue);
  OString GetString(const SettingKey& key, const OString& defaultValue);
  bool GetBool(const OString& key, bool defaultValue) { return GetBool(SettingKey(key), defaultValue); }
  DWORD GetDword(const OString& key, DWORD defaultValue) { return GetDword(SettingKey(key), defaultValue); }
  OString GetString(const OString& key, const OString& defaultValue) {
    return GetString(SettingKey(key), defaultValue);
  }

  /// In memory only, until the next Init.
  void SetDword(const SettingKey& key, DWORD value);
  void SetBool(const SettingKey& key, bool value);
  void SetDword(const OString& key, DWORD value) { SetDword(SettingKey(key), value); }
  void SetBool(const OString& key, bool value) { SetBool(SettingKey(key), value); }

 private:
  bool IsLoaded(const SettingKey& key) const { return OPropertySet::GetBool(key.loaded); }
  void MarkLoaded(const SettingKey& key) { OPropertySet::SetBool(key.loaded, true); }

  std::unique_ptr<PrinterRegistry> registry_;  // none before the first Init
  OCriticalSection lock_;
};

}  // namespace portwise
