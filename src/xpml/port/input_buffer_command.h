#pragma once

namespace portwise {

class PortContext;
class XPML_Document;

/// "/input_buffer": tells, takes or drops what was last read back from the printer. Unlike elsewhere the case of the
/// action counts; false for one that there is not.
bool RunInputBuffer(XPML_Document& document, PortContext& port);

}  // namespace portwise
