#pragma once

namespace portwise {

class QueryCommandPort;
class XPML_Document;

/// The commands through which clients ask the printer something and follow it.

/// "/query": fills and follows the queue of queries, or acts on the requests of a query that is named.
bool RunQuery(XPML_Document& document, QueryCommandPort& port);
/// "/request": adds a request to those that a query has, or reads one. False when it names none.
bool RunRequest(XPML_Document& document, QueryCommandPort& port);

}  // namespace portwise
