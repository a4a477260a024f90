#pragma once

#include "xpml/request.h"

namespace portwise {

/// The table of the commands that act on a port.
class CommandTable final : public CommandSet {
 public:
  void RegisterOn(XPML_Document& document, PortContext* port) override;
  bool IsClosing(PortContext* port) override;
};

}  // namespace portwise
