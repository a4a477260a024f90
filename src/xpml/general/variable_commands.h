#pragma once

namespace portwise {

class XPML_Document;

/// "/set": stores the content up to its first NUL in the variable `name`, and empties it unless `copy`. False, with the
/// content as it was, without a name.
bool RunSet(XPML_Document& document, void*);

/// "/get": appends the variable `name` to the content. Then the content, as a decimal number, becomes what `type` and
/// `length` say, and its bytes change their order with `reverse`.
bool RunGet(XPML_Document& document, void*);

}  // namespace portwise
