#pragma once

namespace portwise {

class PortContext;
class XPML_Document;

/// "/settings": "request" replies with what another computer lacks of the printer's settings, "update" takes such a
/// reply over, "unrestrict" lets everyone change them; these two leave no reply.
bool RunSettings(XPML_Document& document, PortContext& port);

}  // namespace portwise
