#pragma once

namespace portwise {

class PortContext;
class XPML_Document;

/// "/state": appends what the attribute `name` asks of the printer's state to the content. What needs
/// the status may wait for the port's status monitor to start, at most 60000 ms.
bool RunState(XPML_Document& document, PortContext& port);

}  // namespace portwise
