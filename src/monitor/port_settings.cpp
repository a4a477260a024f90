#include "monitor/port_settings.h"

namespace portwise {
namespace {

constexpr DWORD kRefreshPause = 1000;  // ms

}  // namespace

void PortSettings::Refresh(const OString& printer) {
  std::unique_ptr<PrinterRegistry> fresh;
  {
    const OScopedLock lock(lock_);
    const DWORD now = GetTickCount();
    if (registry_ && !overridden_ && now - refreshedAt_ < kRefreshPause) return;
    overridden_ = false;
    registry_ = std::make_unique<PrinterRegistry>(printer);
    refreshedAt_ = now;
    fresh = std::make_unique<PrinterRegistry>(*registry_);
  }
  values_.Init(*fresh);
}

DriverSettings& PortSettings::OverrideForJob() {
  const OScopedLock lock(lock_);
  overridden_ = true;
  return values_;
}

void PortSettings::ForgetPrinter() {
  const OScopedLock lock(lock_);
  registry_.reset();
}

}  // namespace portwise
