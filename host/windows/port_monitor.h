#pragma once

#include <windows.h>
#include <winspool.h>

#include <winsplp.h>

namespace portwise {

/// The port monitor that lies below the print monitor: files are written to, as the local port monitor does, and TCP
/// ports open but take nothing, since the print monitor speaks to those itself. It has no way back from the printer.
struct PortMonitor {
  HANDLE handle;
  MONITOR2* functions;
};
PortMonitor UnderlyingPortMonitor();

}  // namespace portwise
