#include "monitor/port_settings.h"

#include "settings/printer_registry.h"

namespace portwise {
namespace {

constexpr DWORD kRefreshPause = 1000;  // ms

}  // namespace

void PortSettings::Refresh(const OString& printer) {
  const OScopedLock lock(lock_);
  if (!ofJob_) Read(printer);
}

void PortSettings::RefreshForJob(const OString& printer) {
  const OScopedLock lock(lock_);
  ofJob_ = true;
  Read(printer);
}

void PortSettings::ReleaseJob() {
  const OScopedLock lock(lock_);
  ofJob_ = false;
}

void PortSettings::Read(const OString& printer) {
  const DWORD now = GetTickCount();
  if (printer_ == printer && !overridden_ && now - refreshedAt_ < kRefreshPause) return;
  values_.Init(PrinterRegistry(printer));
  printer_ = printer;
  overridden_ = false;
  refreshedAt_ = now;
}

DriverSettings& PortSettings::OverrideForJob() {
  const OScopedLock lock(lock_);
  overridden_ = true;
  return values_;
}

}  // namespace portwise
