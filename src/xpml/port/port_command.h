#pragma once

namespace portwise {

class PortContext;
class XPML_Document;

/// "/port": "get" replies with a property of the port or its connection, and nothing for one that there is not or that
/// does not apply. False for other actions than that and "set", which has nothing to set.
bool RunPort(XPML_Document& document, PortContext& port);
/// "/printer": between documents, the port is that of the printer `name` from now on. The content passes.
bool RunPrinter(XPML_Document& document, PortContext& port);

}  // namespace portwise
