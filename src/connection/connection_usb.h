#pragma once

#include "connection/connection.h"

namespace portwise {

/// A USB port. It counts as disconnected while the spooler says that the printer works offline, or does not know it.
class Connection_USB : public Connection {
 public:
  Connection_USB() : Connection(ConnectionKind::Usb) {}

  LONG Control(DWORD code, const char* text, void* buffer, DWORD size) override;
  DWORD GetStatus(DWORD mask) override;
  void GetDefaultTimeouts(COMMTIMEOUTS* timeouts) const override { *timeouts = {200, 0, 1000, 0, 0}; }

 private:
  bool IsDisconnected() const;
};

}  // namespace portwise
