#pragma once

#include "connection/connection.h"

namespace portwise {

/// A serial port.
class Connection_COM : public Connection {
 public:
  Connection_COM() : Connection(ConnectionKind::Com) {}

  void GetDefaultTimeouts(COMMTIMEOUTS* timeouts) const override { *timeouts = {200, 0, 1000, 0, 0}; }
};

}  // namespace portwise
