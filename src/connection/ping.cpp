#include "connection/ping.h"

#include <ipexport.h>
#include <windows.h>

#include "core/handles.h"

namespace portwise {
namespace {

using IcmpCreateFileFunction = HANDLE(WINAPI*)();
using IcmpCloseHandleFunction = BOOL(WINAPI*)(HANDLE icmp);
using IcmpSendEchoFunction = DWORD(WINAPI*)(HANDLE icmp, IPAddr host, LPVOID request, WORD requestSize,
                                            PIP_OPTION_INFORMATION options, LPVOID reply, DWORD replySize,
                                            DWORD timeout);

constexpr UCHAR kTimeToLive = 255;

template <typename Function>
Function Find(const unique_module& library, const char* name) {
  // By way of void(*)(), which stands for any function.
  return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(library.Get(), name)));
}

}  // namespace

bool Ping(const IN_ADDR& host, int attempts, DWORD timeout) {
  const unique_module library(LoadLibraryW(TEXT("ICMP.DLL")));
  if (!library) return false;
  const auto create = Find<IcmpCreateFileFunction>(library, "IcmpCreateFile");
  const auto close = Find<IcmpCloseHandleFunction>(library, "IcmpCloseHandle");
  const auto send = Find<IcmpSendEchoFunction>(library, "IcmpSendEcho");
  if (!create || !close || !send) return false;
  const HANDLE icmp = create();
  if (icmp == INVALID_HANDLE_VALUE) return false;
  bool answered = false;
  for (int i = 0; i < attempts && !answered; ++i) {
    IP_OPTION_INFORMATION options = {};
    options.Ttl = kTimeToLive;
    struct {
      ICMP_ECHO_REPLY echo;
      BYTE error[8];  // the system asks for room for a message of an error
    } reply = {};
    answered = send(icmp, host.s_addr, nullptr, 0, &options, &reply, sizeof reply, timeout) > 0 &&
               reply.echo.Status == IP_SUCCESS;
  }
  close(icmp);
  return answered;
}

}  // namespace portwise
