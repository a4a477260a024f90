#pragma once

#include <utility>

#include "monitor/port_context.h"

namespace portwise {

/// Uses a port beside the spooler for as long as it lives; the port stays open until then. Moves, never copies.
class PortUse {
 public:
  PortUse() = default;
  /// None when the port is null or not ready.
  explicit PortUse(PortContext* port) : port_(port && port->BeginUse() ? port : nullptr) {}
  PortUse(PortUse&& other) noexcept : port_(std::exchange(other.port_, nullptr)) {}
  PortUse& operator=(PortUse&& other) noexcept {
    std::swap(port_, other.port_);
    return *this;
  }
  ~PortUse() {
    if (port_) port_->EndUse();
  }

  PortContext* Get() const { return port_; }
  explicit operator bool() const { return port_ != nullptr; }

 private:
  PortContext* port_ = nullptr;
};

}  // namespace portwise
