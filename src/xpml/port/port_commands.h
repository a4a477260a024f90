#pragma once

#include "xpml/request.h"

namespace portwise {

/// The commands that act on a port.
class PortCommands final : public CommandSet {
 public:
  void RegisterOn(XPML_Document& document, PortContext* port) override;
};

}  // namespace portwise
