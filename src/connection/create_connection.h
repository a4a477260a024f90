#pragma once

#include <memory>

#include "connection/connection.h"

namespace portwise {

/// True for a port of a TCP/IP port monitor whose protocol is RAW, which can be printed to directly. Looks the
/// printer's name up, which may take a while.
bool IsRawTcpPort(PortLink* port);

/// A connection of the class that suits the port. The caller owns it and binds it with SetPortContext.
std::unique_ptr<Connection> CreateConnection(PortLink* port);

}  // namespace portwise
