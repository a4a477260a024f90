#pragma once

#include <optional>

#include "core/ostring.h"
#include "core/synchronizer.h"
#include "settings/driver_settings.h"

namespace portwise {

/// The settings of the printer that a port prints to. Any thread.
class PortSettings {
 public:
  DriverSettings& Values() { return values_; }
  /// To change values in memory for the rest of the job: the next Refresh reads them again in any case.
  DriverSettings& OverrideForJob();

  /// Reads the settings again from now on, unless they are the same printer's and less than a second old, or a job has
  /// them.
  void Refresh(const OString& printer);
  /// The same for a job, which keeps them until it releases them.
  void RefreshForJob(const OString& printer);
  void ReleaseJob();

 private:
  /// Under the lock.
  void Read(const OString& printer);

  OCriticalSection lock_;
  std::optional<OString> printer_;  // whose settings these are; under lock_, as are the next
  DWORD refreshedAt_ = 0;           // tick count
  bool overridden_ = false;
  bool ofJob_ = false;
  DriverSettings values_;
};

}  // namespace portwise
