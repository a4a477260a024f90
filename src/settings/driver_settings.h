#pragma once

#include <atomic>

#include "settings/driver_settings_core.h"

namespace portwise {

/// When the printer is asked for its status: the values of the monitoring mode.
enum MonitoringMode : LONG {
  kMonitoringOff = 0,
  kMonitoringOnDemand = 1,    ///< while a job runs, while the printer is not ready, and for a client's look
  kMonitoringAlways = 2,      ///< also while nobody looks
  kMonitoringDuringJobs = 3,  ///< and between jobs the printer counts as ready
};

/// What the driver has set for one printer, with the system's defaults (settings/settings_catalogue.h). Each value is
/// read once between two calls of Init; setters change it in memory, for the rest of a job. Any thread.
class DriverSettings {
 public:
  /// Drops what was read and set, and reads from now on what `registry` shows.
  void Init(const PrinterRegistry& registry) { core_.Init(registry); }

  bool GetOverwriteFiles();
  bool GetPrintCodeRecording();
  OString GetRecordingDirectory();

  /// A MonitoringMode, or the default.
  LONG GetStatusMonitoringMode();
  void SetStatusMonitoringMode(LONG mode);
  void DisableStatusMonitoring() { SetStatusMonitoringMode(kMonitoringOff); }
  bool IsStatusMonitoringEnabled() { return GetStatusMonitoringMode() != kMonitoringOff; }
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
  std::atomic<LONG> defaultMonitoringMode_{kMonitoringOff};
};

}  // namespace portwise
