#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace portwise {

class XPML_Document;

/// "/message": shows the content, with references to attributes replaced, in a message box with the caption `title`,
/// and waits until it is dismissed. Where there is nobody to see it, it goes to the event log, without waiting. Empties
/// the content unless `copy`.
bool RunMessage(XPML_Document& document, void*);

/// The text with each `$element[attribute]` replaced by what `find` tells for it. A "$" without both brackets behind it
/// is copied. The result ends at `limit` bytes.
using AttributeFinder = std::function<std::string_view(std::string_view element, std::string_view attribute)>;
std::string ReplaceReferences(std::string_view text, size_t limit, const AttributeFinder& find);

}  // namespace portwise
