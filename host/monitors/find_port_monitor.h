#pragma once

#include <optional>
#include <string>

#include "host/monitors/port_monitor.h"

namespace portwise {

/// The monitor of a registered port; nothing when there is no port of that name.
std::optional<PortMonitor> FindPortMonitor(const std::string& port);

/// Ends what the ports wait for, for good: the spooler is about to end. Any thread.
void EndPortWaits();

}  // namespace portwise
