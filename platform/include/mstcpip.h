#pragma once

/// What a TCP socket says of itself through WSAIoctl.

#include <winsock2.h>

#define IOC_VENDOR 0x18000000u
#define IOC_INOUT 0xC0000000u
#define _WSAIORW(group, request) (IOC_INOUT | (group) | (request))

/// Takes the version of the answer, a DWORD of 0, and gives a TCP_INFO_v0.
#define SIO_TCP_INFO _WSAIORW(IOC_VENDOR, 39)

enum TCPSTATE {
  TCPSTATE_CLOSED,
  TCPSTATE_LISTEN,
  TCPSTATE_SYN_SENT,
  TCPSTATE_SYN_RCVD,
  TCPSTATE_ESTABLISHED,
  TCPSTATE_FIN_WAIT_1,
  TCPSTATE_FIN_WAIT_2,
  TCPSTATE_CLOSE_WAIT,
  TCPSTATE_CLOSING,
  TCPSTATE_LAST_ACK,
  TCPSTATE_TIME_WAIT,
};

/// Bytes are those of the data. State, Mss, RttUs, MinRttUs and the bytes out, retransmitted, in flight and in are
/// told; what the system does not count the same way is 0. A connection that is over keeps its counts.
struct TCP_INFO_v0 {
  TCPSTATE State;
  ULONG Mss;
  ULONG64 ConnectionTimeMs;
  BOOLEAN TimestampsEnabled;
  ULONG RttUs;
  ULONG MinRttUs;
  ULONG BytesInFlight;  // sent and not acknowledged
  ULONG Cwnd;
  ULONG SndWnd;
  ULONG RcvWnd;
  ULONG RcvBuf;
  ULONG64 BytesOut;  // as often as they were sent
  ULONG64 BytesIn;
  ULONG BytesReordered;
  ULONG BytesRetrans;
  ULONG FastRetrans;
  ULONG DupAcksIn;
  ULONG TimeoutEpisodes;
  UCHAR SynRetrans;
};
