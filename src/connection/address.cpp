#include "connection/address.h"

#include <ws2tcpip.h>

#include <memory>
#include <string>

#include "connection/socket_library.h"

namespace portwise {
namespace {

using GetAddrInfoWFunction = INT(WINAPI*)(PCWSTR node, PCWSTR service, const ADDRINFOW* hints, PADDRINFOW* results);
using FreeAddrInfoWFunction = void(WINAPI*)(PADDRINFOW results);

template <typename Function>
Function FindSocketFunction(const char* name) {
  HMODULE library = GetModuleHandleW(TEXT("Ws2_32.dll"));
  if (library == nullptr) return nullptr;
  // By way of void(*)(), which stands for any function.
  return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(library, name)));
}

/// Takes the address out of the first of the results of either kind.
template <typename Results>
bool TakeFirst(const Results* results, SOCKADDR_IN* address) {
  if (results == nullptr || results->ai_family != AF_INET || results->ai_addrlen < sizeof(SOCKADDR_IN)) {
    SetLastError(WSAHOST_NOT_FOUND);
    return false;
  }
  address->sin_addr = reinterpret_cast<const SOCKADDR_IN*>(results->ai_addr)->sin_addr;
  return true;
}

bool LookUpWide(GetAddrInfoWFunction lookUp, FreeAddrInfoWFunction release, const OString& text, SOCKADDR_IN* address) {
  ADDRINFOW hints = {};
  hints.ai_family = AF_INET;
  hints.ai_protocol = IPPROTO_TCP;
  PADDRINFOW results = nullptr;
  const int error = lookUp(text.Wide(), nullptr, &hints, &results);
  if (error != 0) {
    SetLastError(static_cast<DWORD>(error));
    return false;
  }
  const bool taken = TakeFirst(results, address);
  release(results);
  return taken;
}

/// For systems whose socket library knows names only as bytes.
bool LookUpNarrow(const OString& text, SOCKADDR_IN* address) {
  addrinfo hints = {};
  hints.ai_family = AF_INET;
  hints.ai_protocol = IPPROTO_TCP;
  addrinfo* results = nullptr;
  if (getaddrinfo(text.InCodePage(kCodePageAnsi).c_str(), nullptr, &hints, &results) != 0) {
    SetLastError(WSAHOST_NOT_FOUND);
    return false;
  }
  const bool taken = TakeFirst(results, address);
  freeaddrinfo(results);
  return taken;
}

}  // namespace

bool ResolveAddress(const OString& text, WORD port, SOCKADDR_IN* address) {
  const SocketLibrary library;
  if (!library) {
    SetLastError(ERROR_NO_NETWORK);
    return false;
  }
  address->sin_family = AF_INET;
  address->sin_port = htons(port);
  // An empty name would be looked up as this computer's own.
  if (text.IsEmpty()) {
    SetLastError(WSAHOST_NOT_FOUND);
    return false;
  }
  const auto lookUp = FindSocketFunction<GetAddrInfoWFunction>("GetAddrInfoW");
  const auto release = FindSocketFunction<FreeAddrInfoWFunction>("FreeAddrInfoW");
  if (lookUp != nullptr && release != nullptr) return LookUpWide(lookUp, release, text, address);
  return LookUpNarrow(text, address);
}

}  // namespace portwise
