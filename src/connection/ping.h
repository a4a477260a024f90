#pragma once

#include <winsock2.h>

namespace portwise {

/// Whether a host answers an ICMP echo, in up to `attempts` tries of `timeout` milliseconds each. False also when the
/// system has no ICMP helper.
bool Ping(const IN_ADDR& host, int attempts, DWORD timeout);

}  // namespace portwise
