#include <ws2tcpip.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>

#include "platform/kernel/modules.h"
#include "platform/sockets/descriptor.h"
#include "platform/sockets/socket_errors.h"
#include "platform/text.h"

namespace portwise::platform {
namespace {

/// A result and the address that it points to, in one piece.
struct LookupResult {
  ADDRINFOW info = {};
  sockaddr_storage address = {};
};

void WINAPI FreeAddrInfoW(PADDRINFOW results) {
  while (results != nullptr) {
    PADDRINFOW next = results->ai_next;
    delete reinterpret_cast<LookupResult*>(results);
    results = next;
  }
}

bool IsThisComputer(std::u16string name) {
  WCHAR own[MAX_COMPUTERNAME_LENGTH + 1];
  DWORD size = std::size(own);
  std::transform(name.begin(), name.end(), name.begin(), UpperUnit);
  return GetComputerNameW(own, &size) && name == own;
}

/// Canonical names are not given. Returns the error, which is also the thread's last error, or 0.
INT WINAPI GetAddrInfoW(PCWSTR node, PCWSTR service, const ADDRINFOW* hints, PADDRINFOW* results) {
  if (!RequireWinsock()) return WSANOTINITIALISED;
  addrinfo wanted = {};
  if (hints != nullptr) {
    wanted.ai_flags = hints->ai_flags & ~AI_CANONNAME;
    wanted.ai_family = hints->ai_family;
    wanted.ai_socktype = hints->ai_socktype;
    wanted.ai_protocol = hints->ai_protocol;
  }
  const std::string nodeText = node != nullptr ? ToUtf8(node) : std::string();
  const std::string serviceText = service != nullptr ? ToUtf8(service) : std::string();
  const char* const serviceName = service != nullptr ? serviceText.c_str() : nullptr;
  addrinfo* found = nullptr;
  int result = ::getaddrinfo(node != nullptr ? nodeText.c_str() : nullptr, serviceName, &wanted, &found);
  // Not every machine has its own name in its files or in the network.
  if (result != 0 && node != nullptr && IsThisComputer(node)) {
    result = ::getaddrinfo("127.0.0.1", serviceName, &wanted, &found);
  }
  if (result != 0) {
    const int error = LookupErrorOf(result, errno);
    FailSocketCall(error);
    return error;
  }
  const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> owner(found, &::freeaddrinfo);
  PADDRINFOW* link = results;
  *link = nullptr;
  for (const addrinfo* each = found; each != nullptr; each = each->ai_next) {
    if (each->ai_addrlen > sizeof(sockaddr_storage)) continue;
    auto* copy = new LookupResult;
    std::memcpy(&copy->address, each->ai_addr, each->ai_addrlen);
    copy->info.ai_family = each->ai_family;
    copy->info.ai_socktype = each->ai_socktype;
    copy->info.ai_protocol = each->ai_protocol;
    copy->info.ai_addrlen = each->ai_addrlen;
    copy->info.ai_addr = reinterpret_cast<sockaddr*>(&copy->address);
    *link = &copy->info;
    link = &copy->info.ai_next;
  }
  return 0;
}

/// By way of void(*)(), which stands for any function.
template <typename Function>
FARPROC AsProc(Function* function) {
  return reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(function));
}

const bool kRegistered = [] {
  RegisterSystemModule("Ws2_32.dll",
                       {{"GetAddrInfoW", AsProc(&GetAddrInfoW)}, {"FreeAddrInfoW", AsProc(&FreeAddrInfoW)}});
  return true;
}();

}  // namespace
}  // namespace portwise::platform
