#pragma once

#include <winsock2.h>

namespace portwise::platform {

/// True while the process has started Winsock more often than it has cleaned it up. Otherwise false, and the thread's
/// last error is WSANOTINITIALISED. Any thread.
bool RequireWinsock();

/// The descriptor behind a socket that may be used now, or -1 with the last error set. Whether it is open and a socket
/// at all is left to the system call that gets it.
int DescriptorOf(SOCKET socket);

}  // namespace portwise::platform
