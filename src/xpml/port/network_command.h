#pragma once

namespace portwise {

class PortContext;
class XPML_Document;

/// "/network": "enumerate" appends the names of this computer's printers, a line each in UTF-8; "restart" restarts the
/// network service, "shutdown" ends the port's connection for good. "start" does nothing: the request that reached the
/// port has already made the spooler open it.
bool RunNetwork(XPML_Document& document, PortContext& port);

}  // namespace portwise
