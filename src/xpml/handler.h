#pragma once

#include "core/ostring.h"

namespace portwise {

class XPML_Document;

/// What an element means. Runs on the thread that calls Parse, with the element on top of the stack: it reads the
/// element's attributes and its content (`CurrentText`), and leaves its reply in the content, by replacing it, by
/// appending to it, or by consuming it. The parser does not look at the result; a command that fails leaves no reply.
/// The handler of plain text runs without an element and reads `PlainText`; its false keeps the text for later.
using HandlerFunction = bool (*)(XPML_Document& document, void* context);

/// A handler and when it runs. The path is an element's name (when the element opens), "/" and the name of an end tag
/// (when that closes an element), or empty for the handler of plain text.
struct XPML_Handler {
  OString path;
  std::string pathBytes;  ///< the path as it is compared with tags: byte for byte
  HandlerFunction function;
  void* context;
};

}  // namespace portwise
