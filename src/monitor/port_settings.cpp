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
    if (registry_ && now - refreshedAt_ < kRefreshPause) return;
    registry_ = std::make_unique<PrinterRegistry>(printer);
    refreshedAt_ = now;
    fresh = std::make_unique<PrinterRegistry>(*registry_);
  }
  values_.Init(*fresh);
}

void PortSettings::ForgetPrinter() {
  const OScopedLock lock(lock_);
  registry_.reset();
}

}  // namespace portwise
