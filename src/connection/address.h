#pragma once

#include <winsock2.h>

#include "core/ostring.h"

namespace portwise {

/// Looks up the IPv4 address of a host name or of a dotted address, and stores it with the family and `port`, which
/// is in host order. May wait for the name service. False leaves the four bytes of the address as they were; the last
/// error is then the lookup's, or ERROR_NO_NETWORK when there are no sockets at all. Any thread.
bool ResolveAddress(const OString& text, WORD port, SOCKADDR_IN* address);

}  // namespace portwise
