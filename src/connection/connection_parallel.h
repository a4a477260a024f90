#pragma once

#include "connection/connection.h"

namespace portwise {

/// A parallel port. Its status comes from the lines of the port itself.
class Connection_Parallel : public Connection {
 public:
  Connection_Parallel() : Connection(ConnectionKind::Parallel) {}

  LONG Control(DWORD code, const char* text, void* buffer, DWORD size) override;
  /// Of a printer that is switched off nothing is told but that.
  DWORD GetStatus(DWORD mask) override;
  void GetDefaultTimeouts(COMMTIMEOUTS* timeouts) const override { *timeouts = {100, 0, 250, 0, 0}; }

 private:
  bool LacksReverseChannel() const;
};

}  // namespace portwise
