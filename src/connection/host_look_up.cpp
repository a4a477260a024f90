#include "connection/host_look_up.h"

#include "connection/address.h"

namespace portwise {
namespace {

constexpr DWORD kLookUpPause = 5000;  // ms until a name that was not found is looked up again

}  // namespace

DWORD HostLookUp::Find(const PortAddress& port, bool afresh) {
  const bool known = port.hostName == hostName_ && port.ipAddress == ipAddress_;
  if (known && error_ == 0 && !afresh) return 0;
  if (known && failed_ && GetTickCount() - lookedUpAt_ < kLookUpPause) return error_;
  if (!known) {
    // Without this a new name that is not found would leave the old printer's address in use.
    host_ = {};
    error_ = WSAHOST_NOT_FOUND;
    hostName_ = port.hostName;
    ipAddress_ = port.ipAddress;
  }
  SOCKADDR_IN address = {};
  failed_ = !ResolveAddress(hostName_.IsEmpty() ? ipAddress_ : hostName_, 0, &address);
  const DWORD error = failed_ ? GetLastError() : 0;
  lookedUpAt_ = GetTickCount();
  if (!failed_) host_ = address.sin_addr;
  if (!failed_ || error_ != 0) error_ = error;
  return error_;
}

}  // namespace portwise
