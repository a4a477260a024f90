#pragma once

#include <memory>

#include "core/synchronizer.h"
#include "settings/driver_settings.h"
#include "settings/printer_registry.h"

namespace portwise {

/// The settings of the printer that a port prints to, and its registry. Any thread.
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
  /// The port prints to another printer from now on: the next Refresh begins anew.
  void ForgetPrinter();

 private:
  /// Under the lock.
  void Read(const OString& printer);

  OCriticalSection lock_;
  std::unique_ptr<PrinterRegistry> registry_;  // under lock_, as are the next two
  DWORD refreshedAt_ = 0;                      // tick count
  bool overridden_ = false;
  bool ofJob_ = false;
  DriverSettings values_;
};

}  // namespace portwise
