#pragma once

#include <string_view>

#include "xpml/document.h"

namespace portwise {

/// Leaves the reply in place of the element's content; what is too long to be told gives none.
inline void ReplaceContent(XPML_Document& document, std::string_view reply) {
  document.CurrentText().Clear();
  document.CurrentText().Append(reply);
}

/// Leaves the reply behind the element's content; false, and the content as it was, when it is too long.
inline bool AppendToContent(XPML_Document& document, std::string_view reply) {
  return document.CurrentText().Append(reply);
}

}  // namespace portwise
