#pragma once

namespace portwise {

class XPML_Document;

/// "/encode": takes the encodings of the list `in` off the content, then puts those of `out` on, in the order written.
/// A step that fails leaves the content as it was. The variables "encode_size_in" and "encode_size_out" tell the
/// content's length before and after.
bool RunEncode(XPML_Document& document, void*);

}  // namespace portwise
