#pragma once

#include <windows.h>

#include <string>

#include "platform/text.h"
#include "tests/support/peer_socket.h"

namespace portwise::test {

/// A setting of this computer's network service in the home: a number of four bytes or of one.
inline void SetNetworkSetting(const std::string& name, DWORD value, std::size_t size) {
  WCHAR computer[MAX_COMPUTERNAME_LENGTH + 1];
  DWORD length = MAX_COMPUTERNAME_LENGTH + 1;
  GetComputerNameW(computer, &length);
  const auto path = platform::ToUtf16(R"(SOFTWARE\Corvane\Drivers\Network\@)") + computer;
  HKEY key = nullptr;
  RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
  RegSetValueExW(key, platform::ToUtf16(name).c_str(), 0, REG_BINARY, reinterpret_cast<const BYTE*>(&value),
                 static_cast<DWORD>(size));
  RegCloseKey(key);
}

/// Has the network service listen at a port of this computer alone; 0 switches it off. Homes of tests that do not need
/// it switch it off, since many of them are there at once.
inline void ConfigureNetworkService(unsigned port) {
  SetNetworkSetting("TCP Enabled", port != 0, 1);
  SetNetworkSetting("TCP Port", port, 4);
  SetNetworkSetting("Network Communication", 0, 1);
}

/// A TCP port that nobody listens at.
inline unsigned FreePort() {
  const peer::Socket socket = peer::Open();
  const unsigned port = peer::Bind(socket, 0);
  peer::Close(socket);
  return port;
}

}  // namespace portwise::test
