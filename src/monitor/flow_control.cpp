#include "monitor/flow_control.h"

#include <algorithm>
#include <climits>

#include "monitor/port_context.h"

namespace portwise {
namespace {

constexpr DWORD kPauseWithoutRoom = 100;  // ms

}  // namespace

void FlowControl::Set(DWORD available, DWORD threshold) {
  const OScopedLock lock(lock_);
  SetAvailable(available);
  SetThreshold(threshold);
}

/// A plug-in may tell the threshold once, and the room every time.
void FlowControl::Take(const PluginStatus& status) {
  const OScopedLock lock(lock_);
  if (status.Has(PluginStatus::kAvailable)) SetAvailable(status.available);
  if (status.Has(PluginStatus::kThreshold)) SetThreshold(status.threshold);
}

void FlowControl::SetAvailable(DWORD available) { available_ = static_cast<LONG>(std::min<DWORD>(available, INT_MAX)); }

void FlowControl::SetThreshold(DWORD threshold) { threshold_ = threshold > 0 ? threshold : kNoThreshold; }

bool FlowControl::Admits(size_t length, WriteOutcome* outcome) {
  if (!Applies() || Reserve(length)) return true;
  if (!port_.Monitoring().RequestStatus()) {
    outcome->timedOut = true;
    return false;
  }
  if (!Applies()) return true;
  if (port_.StatusWatch().CurrentStatus().IsError()) {
    outcome->printerError = true;
    return false;
  }
  if (Reserve(length)) return true;
  Sleep(kPauseWithoutRoom);
  return false;
}

bool FlowControl::Applies() {
  return port_.Monitoring().IsOn() && port_.Pages().IsTracking() && port_.Plugin().SupportsBufferSpace() &&
         !port_.Monitoring().IsDisabled();
}

bool FlowControl::Reserve(size_t length) {
  const OScopedLock lock(lock_);
  if (threshold_ != kNoThreshold && length >= threshold_) return true;
  if (length > static_cast<size_t>(available_)) return false;
  available_ -= static_cast<LONG>(length);
  return true;
}

}  // namespace portwise
