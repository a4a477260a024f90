// IcmpCreateFile, IcmpSendEcho and IcmpCloseHandle, for requests without data.

#include <ipexport.h>
#include <windows.h>

#include <chrono>
#include <mutex>

#include "platform/kernel/fail.h"
#include "platform/kernel/handle_table.h"
#include "platform/kernel/modules.h"
#include "platform/sockets/echo_probe.h"
#include "platform/test_clock.h"

namespace portwise::platform {
namespace {

class IcmpFile final : public KernelObject {
 public:
  bool Ask(in_addr host, int timeToLive, std::chrono::nanoseconds time) {
    const std::lock_guard lock(mutex_);
    return probe_.Ask(host, timeToLive, time);
  }

 private:
  std::mutex mutex_;
  EchoProbe probe_;
};

HANDLE WINAPI IcmpCreateFile() {
  const HANDLE handle = OpenHandle(std::make_shared<IcmpFile>());
  return handle ? handle : INVALID_HANDLE_VALUE;
}

BOOL WINAPI IcmpCloseHandle(HANDLE handle) { return FindObjectOf<IcmpFile>(handle) ? CloseHandle(handle) : FALSE; }

/// The number of replies, which is 1 or 0.
DWORD WINAPI IcmpSendEcho(HANDLE handle, IPAddr host, LPVOID, WORD requestSize, PIP_OPTION_INFORMATION options,
                          LPVOID buffer, DWORD size, DWORD timeout) {
  const auto file = FindObjectOf<IcmpFile>(handle);
  if (!file) return 0;
  if (requestSize > 0) return static_cast<DWORD>(Fail(ERROR_NOT_SUPPORTED));
  if (!buffer || size < sizeof(ICMP_ECHO_REPLY)) return static_cast<DWORD>(Fail(IP_BUF_TOO_SMALL));
  // Nobody; the system would take it for this computer.
  if (host == 0) return static_cast<DWORD>(Fail(IP_DEST_HOST_UNREACHABLE));
  constexpr int kTimeToLive = 128;
  const auto start = GetTickCount();
  const bool answered = file->Ask({host}, options && options->Ttl > 0 ? options->Ttl : kTimeToLive, RealTime(timeout));
  if (!answered) return static_cast<DWORD>(Fail(IP_REQ_TIMED_OUT));
  auto* reply = static_cast<ICMP_ECHO_REPLY*>(buffer);
  *reply = {};
  reply->Address = host;
  reply->Status = IP_SUCCESS;
  reply->RoundTripTime = GetTickCount() - start;
  return 1;
}

const bool kRegistered = [] {
  RegisterSystemModule("ICMP.DLL", {{"IcmpCreateFile", AsFarProc(&IcmpCreateFile)},
                                    {"IcmpCloseHandle", AsFarProc(&IcmpCloseHandle)},
                                    {"IcmpSendEcho", AsFarProc(&IcmpSendEcho)}});
  return true;
}();

}  // namespace
}  // namespace portwise::platform
