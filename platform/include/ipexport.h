#pragma once

/// The types of the ICMP helper, whose functions are looked up in "ICMP.DLL" at run time.

#include <windef.h>

using IPAddr = ULONG;  ///< in network byte order
using IP_STATUS = ULONG;

constexpr IP_STATUS IP_SUCCESS = 0;
constexpr IP_STATUS IP_BUF_TOO_SMALL = 11001;
constexpr IP_STATUS IP_DEST_HOST_UNREACHABLE = 11003;
constexpr IP_STATUS IP_REQ_TIMED_OUT = 11010;
constexpr IP_STATUS IP_GENERAL_FAILURE = 11050;

struct IP_OPTION_INFORMATION {
  UCHAR Ttl;
  UCHAR Tos;
  UCHAR Flags;
  UCHAR OptionsSize;
  UCHAR* OptionsData;
};
using PIP_OPTION_INFORMATION = IP_OPTION_INFORMATION*;

struct ICMP_ECHO_REPLY {
  IPAddr Address;
  IP_STATUS Status;
  ULONG RoundTripTime;  ///< milliseconds
  USHORT DataSize;
  USHORT Reserved;
  PVOID Data;
  IP_OPTION_INFORMATION Options;
};
using PICMP_ECHO_REPLY = ICMP_ECHO_REPLY*;
