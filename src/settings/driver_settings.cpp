#include "settings/driver_settings.h"

#include <optional>
#include <string_view>
#include <vector>

#include "settings/settings_catalogue.h"

namespace portwise {
namespace {

constexpr std::string_view kRoot = "Settings:";

/// The key in the cache; std::bad_optional_access for a setting of another root.
const SettingKey& KeyOf(SettingId id) {
  using Keys = std::vector<std::optional<SettingKey>>;
  // Never destroyed: ports may be closed after the library's static objects are gone.
  static const Keys& keys = *new Keys([] {
    Keys made(static_cast<size_t>(SettingId::Count));
    for (size_t index = 0; index < made.size(); ++index) {
      const std::string_view path = FindSetting(static_cast<SettingId>(index)).path;
      if (path.starts_with(kRoot)) made[index].emplace(OString(path.substr(kRoot.size())));
    }
    return made;
  }());
  return keys[static_cast<size_t>(id)].value();
}

bool GetBool(DriverSettingsCore& core, SettingId id) { return core.GetBool(KeyOf(id), FindSetting(id).number != 0); }

DWORD GetDword(DriverSettingsCore& core, SettingId id) { return core.GetDword(KeyOf(id), FindSetting(id).number); }

}  // namespace

bool DriverSettings::GetOverwriteFiles() { return GetBool(core_, SettingId::OverwriteFiles); }
bool DriverSettings::GetPrintCodeRecording() { return GetBool(core_, SettingId::PrintCodeRecording); }
OString DriverSettings::GetRecordingDirectory() {
  return core_.GetString(KeyOf(SettingId::RecordingDirectory), OString());
}

LONG DriverSettings::GetStatusMonitoringMode() {
  const LONG defaultMode = defaultMonitoringMode_;
  const DWORD mode = core_.GetDword(KeyOf(SettingId::StatusMonitoringMode), static_cast<DWORD>(defaultMode));
  return mode <= FindSetting(SettingId::StatusMonitoringMode).largest ? static_cast<LONG>(mode) : defaultMode;
}

void DriverSettings::SetStatusMonitoringMode(LONG mode) {
  core_.SetDword(KeyOf(SettingId::StatusMonitoringMode), static_cast<DWORD>(mode));
}

bool DriverSettings::GetVerifyJobComplete() {
  return IsStatusMonitoringEnabled() && GetBool(core_, SettingId::VerifyJobComplete);
}
void DriverSettings::SetVerifyJobComplete(bool verify) { core_.SetBool(KeyOf(SettingId::VerifyJobComplete), verify); }
bool DriverSettings::GetVerifyPageComplete() {
  return IsStatusMonitoringEnabled() && GetBool(core_, SettingId::VerifyPageComplete);
}
void DriverSettings::SetVerifyPageComplete(bool verify) { core_.SetBool(KeyOf(SettingId::VerifyPageComplete), verify); }
bool DriverSettings::GetAdvancedStatusComment() {
  return IsStatusMonitoringEnabled() && GetBool(core_, SettingId::AdvancedStatusComment);
}

bool DriverSettings::GetShowOnError() { return GetBool(core_, SettingId::ShowOnError); }
bool DriverSettings::GetShowIcon() { return GetBool(core_, SettingId::ShowIcon); }

DWORD DriverSettings::GetSendTimeout() { return GetDword(core_, SettingId::SendTimeout); }
DWORD DriverSettings::GetResponseTimeout() { return GetDword(core_, SettingId::ResponseTimeout); }
DWORD DriverSettings::GetActivePollingInterval() { return GetDword(core_, SettingId::ActivePollingInterval); }
DWORD DriverSettings::GetIdlePollingInterval() { return GetDword(core_, SettingId::IdlePollingInterval); }

void DriverSettings::ApplyBidirectional(bool bidirectional) {
  if (bidirectional) return;
  DisableStatusMonitoring();
  SetVerifyJobComplete(false);
  SetVerifyPageComplete(false);
}

}  // namespace portwise
