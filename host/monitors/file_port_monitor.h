#pragma once

#include "host/monitors/port_monitor.h"

namespace portwise {

/// "Local Port": a job is written to the port's file, and replaces what the file held. A file that cannot be opened
/// refuses the document, with the last error of the open.
PortMonitor FilePortMonitor();

}  // namespace portwise
