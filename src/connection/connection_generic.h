#pragma once

#include "connection/connection.h"

namespace portwise {

/// A port of which nothing is known but its port monitor: file ports, LPR ports and whatever else there is. It counts
/// as unidirectional, so its printer is not monitored.
class Connection_Generic : public Connection {
 public:
  Connection_Generic() : Connection(ConnectionKind::Generic) {}

  DWORD GetStatus(DWORD mask) override;
};

}  // namespace portwise
