#pragma once

#include <winsock2.h>

#include "connection/port_discovery.h"

namespace portwise {

/// The address of the host that a port's registry values name. A name that was found keeps its address when the name
/// service goes away. One user at a time.
class HostLookUp {
 public:
  /// Looks the host up, which may wait for the name service: when the host name or the IP address differs from the
  /// last call's, when the host has not been found yet, and when `afresh` says so. After a look-up that failed, the
  /// same host is not looked up again for five seconds. 0, or the error of a host of which no address is known.
  DWORD Find(const PortAddress& port, bool afresh);

  /// 0.0.0.0 after Find has failed.
  IN_ADDR Host() const { return host_; }

 private:
  OString hostName_;
  OString ipAddress_;
  IN_ADDR host_ = {};
  DWORD error_ = WSAHOST_NOT_FOUND;  // 0 while host_ is known
  bool failed_ = false;              // the last look-up
  DWORD lookedUpAt_ = 0;             // tick count
};

}  // namespace portwise
