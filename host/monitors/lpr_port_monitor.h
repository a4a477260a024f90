#pragma once

#include "host/monitors/port_monitor.h"

namespace portwise {

/// "Standard TCP/IP Port", LPR protocol: a job goes to a queue of a line printer daemon (RFC 1179).
///
/// With byte counting the document is kept in a temporary file and goes out at its end, when its size is known. The end
/// waits until the daemon has the job: what fails before the first byte of data is tried again, for as long as the job
/// is not cancelled, with the reason in the queue. A document that belongs to no job is tried once. Without byte
/// counting the document's beginning connects, and the data passes through as it comes. A connection that breaks within
/// the data, or before the daemon has said that it has all of it, leaves the job undelivered: to send it again might
/// double what the printer has begun.
PortMonitor LprPortMonitor();

}  // namespace portwise
