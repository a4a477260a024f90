#include "platform/sockets/socket_errors.h"

#include <netdb.h>

#include <cerrno>

namespace portwise::platform {
namespace {

struct ErrorRow {
  int native;
  int code;
};

constexpr ErrorRow kSocketErrors[] = {
    {EINTR, WSAEINTR},
    {EBADF, WSAENOTSOCK},
    {EACCES, WSAEACCES},
    {EPERM, WSAEACCES},
    {EFAULT, WSAEFAULT},
    {EINVAL, WSAEINVAL},
    {EMFILE, WSAEMFILE},
    {ENFILE, WSAEMFILE},
    {EAGAIN, WSAEWOULDBLOCK},
    {EINPROGRESS, WSAEINPROGRESS},
    {EALREADY, WSAEALREADY},
    {ENOTSOCK, WSAENOTSOCK},
    {EDESTADDRREQ, WSAEDESTADDRREQ},
    {EMSGSIZE, WSAEMSGSIZE},
    {EPROTOTYPE, WSAEPROTOTYPE},
    {ENOPROTOOPT, WSAENOPROTOOPT},
    {EPROTONOSUPPORT, WSAEPROTONOSUPPORT},
    {EOPNOTSUPP, WSAEOPNOTSUPP},
    {EAFNOSUPPORT, WSAEAFNOSUPPORT},
    {EADDRINUSE, WSAEADDRINUSE},
    {EADDRNOTAVAIL, WSAEADDRNOTAVAIL},
    {ENETDOWN, WSAENETDOWN},
    {ENETUNREACH, WSAENETUNREACH},
    {ENETRESET, WSAENETRESET},
    {ECONNABORTED, WSAECONNABORTED},
    {ECONNRESET, WSAECONNRESET},
    {ENOBUFS, WSAENOBUFS},
    {ENOMEM, WSAENOBUFS},
    {EISCONN, WSAEISCONN},
    {ENOTCONN, WSAENOTCONN},
    {EPIPE, WSAESHUTDOWN},
    {ETIMEDOUT, WSAETIMEDOUT},
    {ECONNREFUSED, WSAECONNREFUSED},
    {EHOSTDOWN, WSAEHOSTUNREACH},
    {EHOSTUNREACH, WSAEHOSTUNREACH},
};

constexpr int kNoRecovery = 11003;

constexpr ErrorRow kLookupErrors[] = {
    {EAI_AGAIN, WSATRY_AGAIN},       {EAI_FAIL, kNoRecovery},          {EAI_FAMILY, WSAEAFNOSUPPORT},
    {EAI_BADFLAGS, WSAEINVAL},       {EAI_SERVICE, WSAHOST_NOT_FOUND}, {EAI_SOCKTYPE, WSAEPROTONOSUPPORT},
    {EAI_MEMORY, ERROR_OUTOFMEMORY}, {EAI_NONAME, WSAHOST_NOT_FOUND},
};

template <std::size_t kCount>
int CodeOf(const ErrorRow (&rows)[kCount], int native, int otherwise) {
  for (const ErrorRow& row : rows) {
    if (row.native == native) return row.code;
  }
  return otherwise;
}

}  // namespace

int SocketErrorOf(int errorNumber) { return CodeOf(kSocketErrors, errorNumber, WSAEINVAL); }

int LookupErrorOf(int result, int errorNumber) {
  if (result == EAI_SYSTEM) return SocketErrorOf(errorNumber);
  return CodeOf(kLookupErrors, result, WSAHOST_NOT_FOUND);
}

int FailSocketCall(int code) {
  SetLastError(static_cast<DWORD>(code));
  return SOCKET_ERROR;
}

}  // namespace portwise::platform
