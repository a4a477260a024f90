#pragma once

#include <windows.h>

#include "connection/connection.h"
#include "core/ostring.h"
#include "plugin/monitor_interface.h"
#include "plugin/protocol_interface.h"

namespace portwise {

/// What queries need of the port whose printer they ask. The status thread calls.
class QueryHost {
 public:
  virtual ~QueryHost() = default;

  /// The connection, whose use lock the thread holds, and the two sides of the printer's plug-in.
  virtual Connection& PrinterConnection() = 0;
  virtual MonitorInterface& Plugin() = 0;
  virtual ProtocolInterface& Protocol() = 0;

  /// Milliseconds that the printer may take nothing, and that an answer may take.
  virtual DWORD SendTimeout() = 0;
  virtual DWORD ResponseTimeout() = 0;

  /// The port is being closed: whatever waits for the printer is to end.
  virtual bool IsStopping() = 0;

  /// The printer is asked for its status, so that one that is offline becomes ready again.
  virtual bool FollowsStatus() = 0;
  /// The printer does not answer any more.
  virtual void SetStatusOffline() = 0;
  /// Puts a warning into the event log of the port.
  virtual void Warn(const OString& text) = 0;
};

}  // namespace portwise
