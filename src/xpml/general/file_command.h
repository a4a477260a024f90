#pragma once

namespace portwise {

class XPML_Document;

/// "/file": saves the content to the file `save`, behind what it holds with `append`, and empties it unless `copy`;
/// then appends the file `load` to it. Files that cannot be opened are skipped, and so is one to load that the content
/// has no room for.
bool RunFile(XPML_Document& document, void*);

}  // namespace portwise
