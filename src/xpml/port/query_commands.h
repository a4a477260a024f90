#pragma once

namespace portwise {

class QueryCommandPort;
class XPML_Document;

/// Registers "query" and "request", through which clients ask the printer something and follow it. The port must
/// outlive the document.
void RegisterQueryCommands(XPML_Document& document, QueryCommandPort& port);

}  // namespace portwise
