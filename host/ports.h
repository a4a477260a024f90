#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

/// The ports, at the places of the registry where their port monitors keep them. Any thread; names ignore case and
/// are unique across the monitors. Nothing is cached.
namespace portwise {

enum class PortKind { Tcp, File };

struct Port {
  std::string name;
  PortKind kind = PortKind::Tcp;
  std::string host;      ///< Tcp: a host name or an address
  DWORD portNumber = 0;  ///< Tcp: 1 to 65535
  std::string file;      ///< File: a Windows path, or a Linux path that begins with "/"
};

std::vector<Port> ListPorts();
std::optional<Port> FindPort(const std::string& name);
/// False when the registry does not take it.
bool SavePort(const Port& port);
bool RemovePort(const Port& port);

}  // namespace portwise
