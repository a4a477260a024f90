#pragma once

#include <atomic>

#include "settings/driver_settings_core.h"

namespace portwise {

/// What the driver has set for one printer, with the system's defaults (settings/settings_catalogue.h). Each value is
/// read once between two calls of Init; setters change it in memory, for the rest of a job. Any thread.
class DriverSettings {
 public:
  /// Drops what was read and set, and reads from now on what `registry` shows.
  void Init(const PrinterRegistry& registry) { core_.Init(registry); }

  bool GetOverwriteFiles();
  bool GetPrintCodeRecording();
  OString GetRecordingDirectory();

  /// 0 to 3, or the default; 0 is off.
  LONG GetStatusMonitoringMode();
  void SetStatusMonitoringMode(LONG mode);
  void DisableStatusMonitoring() { SetStatusMonitoringMode(0); }
  bool IsStatusMonitoringEnabled() { return GetStatusMonitoringMode() != 0; }
  /// Takes effect on what has not been read yet.
  void SetDefaultMonitoringMode(LONG mode) { defaultMonitoringMode_ = mode; }

  /// The next three are false while monitoring is off.
  bool GetVerifyJobComplete();
  void SetVerifyJobComplete(bool verify);
  bool GetVerifyPageComplete();
  void SetVerifyPageComplete(bool verify);
  bool GetAdvancedStatusComment();

  bool GetShowOnError();
  bool GetShowIcon();

  /// Milliseconds.
  DWORD GetSendTimeout();
  DWORD GetResponseTimeout();
  DWORD GetActivePollingInterval();
  DWORD GetIdlePollingInterval();

  /// When the port cannot talk back, turns monitoring and verification off.
  void ApplyBidirectional(bool bidirectional);

  /// Other settings, by their keys relative to "Settings:".
  DriverSettingsCore& Core() { return core_; }

 private:
  DriverSettingsCore core_;
  std::atomic<LONG> defaultMonitoringMode_{0};
};

}  // namespace portwise
