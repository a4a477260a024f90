#pragma once

namespace portwise {

class PortContext;
class XPML_Document;

/// The commands of a job's print data. They leave no reply.

/// "/packet": prints the content of the element.
bool RunPacket(XPML_Document& document, PortContext& port);
/// "/page": the next print data is of `quantity` pages, each `pitch` long.
bool RunPage(XPML_Document& document, PortContext& port);
/// "end": the job's data is complete.
bool RunEnd(XPML_Document& document, PortContext& port);
/// "/smart_card": hands the content to the smart-card reader of the printer, `copies` times; when that fails, the port
/// prints nothing more until the next job.
bool RunSmartCard(XPML_Document& document, PortContext& port);

}  // namespace portwise
