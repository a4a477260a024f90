#pragma once

#include <string_view>

namespace portwise {

class XPML_Document;

/// What an element means. Runs on the thread that calls Parse, with the element on top of the stack: it reads the
/// element's attributes and its content (`CurrentText`), and leaves its reply in the content, by replacing it, by
/// appending to it, or by consuming it. The parser does not look at the result; a command that fails leaves no reply.
/// The handler of plain text runs without an element and reads `PlainText`; its false keeps the text for later.
using HandlerFunction = bool (*)(XPML_Document& document, void* context);

/// A row of a table of commands. The path says when it runs: an element's name (when the element opens), or "/" and the
/// name of an end tag (when that closes an element).
struct XPML_Command {
  std::string_view path;
  HandlerFunction run;
};

/// A registered handler.
struct XPML_Handler {
  std::string_view name;  ///< the path without its slash, as it is compared with tags: byte for byte
  HandlerFunction function = nullptr;
  void* context = nullptr;
};

}  // namespace portwise
