#pragma once

#include <winsplp.h>

namespace portwise {

/// A port monitor of the spooler: what reaches the printers behind the ports of one kind. The table lives for ever;
/// its operations on one port come from one thread at a time, save that reads may overlap writes.
struct PortMonitor {
  HANDLE handle;
  MONITOR2* functions;
};

}  // namespace portwise
