#pragma once

#include "connection/connection.h"

namespace portwise {

/// Holds a connection's use lock for a scope: for the length of a write burst or of a read.
class ConnectionUse {
 public:
  explicit ConnectionUse(Connection& connection) : connection_(connection) { connection_.Lock(); }
  ~ConnectionUse() { connection_.Unlock(); }
  ConnectionUse(const ConnectionUse&) = delete;
  ConnectionUse& operator=(const ConnectionUse&) = delete;

 private:
  Connection& connection_;
};

}  // namespace portwise
