#pragma once

#include <string_view>

#include "xpml/document.h"

namespace portwise {

class PortContext;

/// The commands that act on a port. Whoever implements them sets them once, before there is any port.
class CommandSet {
 public:
  virtual ~CommandSet() = default;
  /// Registers every port command with the port as context.
  virtual void RegisterOn(XPML_Document& document, PortContext* port) = 0;
  /// Whether the port is being closed, so that requests against it are to end.
  virtual bool IsClosing(PortContext* port) = 0;
};

/// `commands` must outlive all documents; null takes the commands away. Not thread-safe against documents being bound.
void SetPortCommands(CommandSet* commands);

/// Gives a document the commands of a port.
void RegisterPortCommands(PortContext* port, XPML_Document& document);

/// Makes a document answer for a port: its plain text is appended to `reply`, and it knows the port commands. `reply`
/// must outlive the document.
void BindDocumentToPort(PortContext* port, XPML_Document& document, TextBuffer& reply);

/// Runs a request against a port: the text is parsed as if it stood inside a section, and what the commands leave
/// behind, with the text between them, is appended to `reply`. Runs on the calling thread; text after an "</xpml>" of
/// the request is replied as it stands. All of it takes what memory it needs of the reply's allowance.
///
/// False when the request has not come to its end because the port is being closed: what it had done by then stays
/// done.
bool ExecuteRequest(PortContext* port, std::string_view request, TextBuffer& reply);

}  // namespace portwise
