#pragma once

namespace portwise {

class XPML_Document;

/// "/lowercase", "/uppercase", "/reverse": change the content in place, up to its first NUL. Only ASCII letters have a
/// case.
bool RunLowercase(XPML_Document& document, void*);
bool RunUppercase(XPML_Document& document, void*);
bool RunReverse(XPML_Document& document, void*);

/// "/push" moves the content behind the document's hold text, "/pop" the hold text behind the content. What has no room
/// stays where it is.
bool RunPush(XPML_Document& document, void*);
bool RunPop(XPML_Document& document, void*);

}  // namespace portwise
