#pragma once

/// Windows Sockets 2.2 over BSD sockets, with the event-select model. Failures leave a WSA error code in the thread's
/// last error, which WSAGetLastError returns.
///
/// The calls that share their name with a BSD call are overloads that take a SOCKET. Sockets are made with WSASocketW
/// and waited for with WSAPoll: `socket` and `select` cannot be told apart from the BSD calls.

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <windows.h>

using SOCKET = UINT_PTR;
#define INVALID_SOCKET (~static_cast<SOCKET>(0))
#define SOCKET_ERROR (-1)
using SOCKADDR = sockaddr;
using SOCKADDR_IN = sockaddr_in;
using IN_ADDR = in_addr;
using WSAEVENT = HANDLE;
#define WSA_INVALID_EVENT (static_cast<WSAEVENT>(nullptr))
#define WSA_INFINITE INFINITE
#define WSA_WAIT_FAILED WAIT_FAILED
#define WSA_WAIT_TIMEOUT WAIT_TIMEOUT
#define WSA_WAIT_EVENT_0 WAIT_OBJECT_0

#define SD_RECEIVE 0
#define SD_SEND 1
#define SD_BOTH 2

#define FD_READ 0x1
#define FD_WRITE 0x2
#define FD_OOB 0x4
#define FD_ACCEPT 0x8
#define FD_CONNECT 0x10
#define FD_CLOSE 0x20
#define FD_MAX_EVENTS 10
#define FD_READ_BIT 0
#define FD_ACCEPT_BIT 3
#define FD_CLOSE_BIT 5

/// The listen queue is as long as the system allows.
#ifdef SOMAXCONN
#undef SOMAXCONN
#endif
#define SOMAXCONN 0x7fffffff

#define FIONBIO 0x8004667Eu

#define WSAEINTR 10004
#define WSAEBADF 10009
#define WSAEACCES 10013
#define WSAEFAULT 10014
#define WSAEINVAL 10022
#define WSAEMFILE 10024
#define WSAEWOULDBLOCK 10035
#define WSAEINPROGRESS 10036
#define WSAEALREADY 10037
#define WSAENOTSOCK 10038
#define WSAEDESTADDRREQ 10039
#define WSAEMSGSIZE 10040
#define WSAEPROTOTYPE 10041
#define WSAENOPROTOOPT 10042
#define WSAEPROTONOSUPPORT 10043
#define WSAEOPNOTSUPP 10045
#define WSAEAFNOSUPPORT 10047
#define WSAEADDRINUSE 10048
#define WSAEADDRNOTAVAIL 10049
#define WSAENETDOWN 10050
#define WSAENETUNREACH 10051
#define WSAENETRESET 10052
#define WSAECONNABORTED 10053
#define WSAECONNRESET 10054
#define WSAENOBUFS 10055
#define WSAEISCONN 10056
#define WSAENOTCONN 10057
#define WSAESHUTDOWN 10058
#define WSAETIMEDOUT 10060
#define WSAECONNREFUSED 10061
#define WSAEHOSTUNREACH 10065
#define WSAVERNOTSUPPORTED 10092
#define WSANOTINITIALISED 10093
#define WSAHOST_NOT_FOUND 11001
#define WSATRY_AGAIN 11002

#define MAKEWORD(low, high) (static_cast<WORD>(((low)&0xff) | (((high)&0xff) << 8)))

struct WSADATA {
  WORD wVersion;
  WORD wHighVersion;
};

struct WSANETWORKEVENTS {
  LONG lNetworkEvents;
  int iErrorCode[FD_MAX_EVENTS];
};

struct WSAPOLLFD {
  SOCKET fd;
  SHORT events;
  SHORT revents;
};

#define WSA_FLAG_OVERLAPPED 1
#define WSA_FLAG_NO_HANDLE_INHERIT 0x80  // as every socket here

struct WSABUF {
  ULONG len;
  char* buf;
};
using LPCONDITIONPROC = int(WINAPI*)(WSABUF* callerId, WSABUF* callerData, void* callerQuality, void* groupQuality,
                                     WSABUF* calleeId, WSABUF* calleeData, unsigned* group, DWORD_PTR data);

using WSAOVERLAPPED = OVERLAPPED;
using LPWSAOVERLAPPED_COMPLETION_ROUTINE = void(WINAPI*)(DWORD error, DWORD transferred, WSAOVERLAPPED* overlapped,
                                                         DWORD flags);

extern "C" {
int WINAPI WSAStartup(WORD version, WSADATA* data);
int WINAPI WSACleanup();
int WINAPI WSAGetLastError();
void WINAPI WSASetLastError(int error);
SOCKET WINAPI WSASocketW(int family, int type, int protocol, void* protocolInfo, unsigned group, DWORD flags);
WSAEVENT WINAPI WSACreateEvent();
BOOL WINAPI WSACloseEvent(WSAEVENT event);
BOOL WINAPI WSASetEvent(WSAEVENT event);
BOOL WINAPI WSAResetEvent(WSAEVENT event);
/// Makes the socket non-blocking, and signals `event` when one of `events` happens. An event that was reported is
/// signalled again only after the call that enables it again (recv for FD_READ); FD_CLOSE is reported once, after the
/// data that came before it has been read. `events` of 0 ends the selection.
int WINAPI WSAEventSelect(SOCKET socket, WSAEVENT event, LONG events);
/// The network events since the last call, and their errors; resets `event`.
int WINAPI WSAEnumNetworkEvents(SOCKET socket, WSAEVENT event, WSANETWORKEVENTS* events);
/// Without a condition function. The new socket blocks as the listening one does, and has its event selection;
/// FD_ACCEPT is reported again after this call, whatever came of it.
SOCKET WINAPI WSAAccept(SOCKET socket, sockaddr* address, int* length, LPCONDITIONPROC condition, DWORD_PTR data);
DWORD WINAPI WSAWaitForMultipleEvents(DWORD count, const WSAEVENT* events, BOOL waitAll, DWORD milliseconds,
                                      BOOL alertable);
int WINAPI WSAPoll(WSAPOLLFD* sockets, ULONG count, INT milliseconds);
int WINAPI closesocket(SOCKET socket);
/// Only FIONBIO.
int WINAPI ioctlsocket(SOCKET socket, LONG command, ULONG* argument);
/// Only SIO_TCP_INFO, at once; on a socket that connected by itself.
int WINAPI WSAIoctl(SOCKET socket, DWORD code, LPVOID in, DWORD inSize, LPVOID out, DWORD outSize, LPDWORD returned,
                    WSAOVERLAPPED* overlapped, LPWSAOVERLAPPED_COMPLETION_ROUTINE completion);
}

int connect(SOCKET socket, const sockaddr* address, int length);
/// An address at which nobody listens is free, also while the system still ends connections that were made to it.
int bind(SOCKET socket, const sockaddr* address, int length);
int listen(SOCKET socket, int backlog);
int send(SOCKET socket, const char* data, int length, int flags);
int recv(SOCKET socket, char* data, int length, int flags);
int shutdown(SOCKET socket, int how);
/// SO_RCVTIMEO and SO_SNDTIMEO take a DWORD of milliseconds, as on Windows.
int setsockopt(SOCKET socket, int level, int name, const char* value, int length);
int getsockopt(SOCKET socket, int level, int name, char* value, int* length);
