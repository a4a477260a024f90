#pragma once

namespace portwise {

class XPML_Document;

/// Registers the commands that every document has: those that need no port and only work on the content of their
/// element and on the document's hold text.
void RegisterGeneralCommands(XPML_Document& document);

}  // namespace portwise
