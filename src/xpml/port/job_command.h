#pragma once

namespace portwise {

class PortContext;
class XPML_Document;

/// "/job": "get" replies with what is known of the job `id`, as an XML document in UTF-8; other actions with nothing.
bool RunJob(XPML_Document& document, PortContext& port);

}  // namespace portwise
