#pragma once

#include "host/monitors/port_monitor.h"

namespace portwise {

/// "Standard TCP/IP Port", raw protocol: a document connects to the port's host, and its end closes the connection
/// after everything has been delivered. Opening a registered port never connects. Failures leave a WSA error code in
/// the last error. A write that the printer has no room for fails with WSAETIMEDOUT and leaves the connection open; any
/// other failed write closes it. The next one connects again if nothing of the document had been taken; else the rest
/// of the document is refused, and the job counts as undelivered.
PortMonitor TcpPortMonitor();

}  // namespace portwise
