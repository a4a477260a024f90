#include "monitor/port_settings.h"

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
  if (registry_ && !overridden_ && now - refreshedAt_ < kRefreshPause) return;
  overridden_ = false;
  registry_ = std::make_unique<PrinterRegistry>(printer);
  refreshedAt_ = now;
  values_.Init(*registry_);
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
