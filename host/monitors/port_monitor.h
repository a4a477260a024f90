#pragma once

#include <winsplp.h>

#include <optional>
#include <string>

namespace portwise {

/// A port monitor of the spooler: what reaches the printers behind the ports of one kind. The table lives for ever;
/// its operations on one port come from one thread at a time, save that reads may overlap writes.
struct PortMonitor {
  HANDLE handle;
  MONITOR2* functions;
};

/// The monitor of a registered port; nothing when there is no port of that name.
std::optional<PortMonitor> FindPortMonitor(const std::string& port);

/// Ends what the ports wait for, for good: the spooler is about to end. Any thread.
void EndPortWaits();

}  // namespace portwise
