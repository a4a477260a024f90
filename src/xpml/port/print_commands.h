#pragma once

namespace portwise {

class XPML_Document;

/// The commands of a job's print data, each with a PortContext as context. They leave no reply.

/// "/packet": prints the content of the element.
bool RunPacket(XPML_Document& document, void* port);
/// "/page": the next print data is of `quantity` pages, each `pitch` long.
bool RunPage(XPML_Document& document, void* port);
/// "end": the job's data is complete.
bool RunEnd(XPML_Document& document, void* port);

}  // namespace portwise
