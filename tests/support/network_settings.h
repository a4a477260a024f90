#pragma once

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>
#include <windows.h>

#include <string>

#include "host/registry_key.h"
#include "platform/text.h"

namespace portwise::test {

/// A setting of this computer's network service in the home: a number of four bytes or of one.
inline void SetNetworkSetting(const std::string& name, DWORD value, std::size_t size) {
  char16_t computer[MAX_COMPUTERNAME_LENGTH + 1];
  DWORD length = MAX_COMPUTERNAME_LENGTH + 1;
  GetComputerNameW(computer, &length);
  RegistryKey::Create(R"(SOFTWARE\Corvane\Drivers\Network\@)" + platform::ToUtf8(computer))
      .SetValue(name, {REG_BINARY, std::string(reinterpret_cast<const char*>(&value), size)});
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
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in own = {};
  own.sin_family = AF_INET;
  own.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof own;
  ::bind(socket, reinterpret_cast<sockaddr*>(&own), size);
  ::getsockname(socket, reinterpret_cast<sockaddr*>(&own), &size);
  ::close(socket);
  return ntohs(own.sin_port);
}

}  // namespace portwise::test
