#pragma once

/// Name lookup. GetAddrInfoW and FreeAddrInfoW are looked up in "Ws2_32.dll" at run time.

#include <netdb.h>
#include <winsock2.h>

struct ADDRINFOW {
  int ai_flags;
  int ai_family;
  int ai_socktype;
  int ai_protocol;
  SIZE_T ai_addrlen;
  PWSTR ai_canonname;
  sockaddr* ai_addr;
  ADDRINFOW* ai_next;
};
using PADDRINFOW = ADDRINFOW*;
