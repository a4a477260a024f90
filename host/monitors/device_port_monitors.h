#pragma once

#include "host/monitors/port_monitor.h"

namespace portwise {

/// The monitors of ports that are devices of this computer: "USB Monitor" with the kernel's USB printers, and "Local
/// Port" with parallel ports and serial lines.
///
/// The device is opened when a document, a read or a device request needs it, and stays open until the port is closed
/// or the device fails; the next call then opens it again, so a printer that was unplugged goes on when it is back. The
/// rest of a document of which the device had taken a part is refused, since what it took may be lost: the job counts
/// as undelivered. A device that somebody else has refuses the document with ERROR_BUSY. A document ends when the
/// device has taken all of it; if the device goes away or the job is cancelled before that, the job counts as
/// undelivered. A document that belongs to no job waits for its end for five seconds. Serial lines have the port's line
/// settings while they are open.
PortMonitor UsbPortMonitor();
PortMonitor ParallelPortMonitor();
PortMonitor SerialPortMonitor();

}  // namespace portwise
