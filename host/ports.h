#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

/// The ports, at the places of the registry where their port monitors keep them. Any thread; names ignore case and
/// are unique across the monitors. Nothing is cached.
namespace portwise {

enum class PortKind { Tcp, Usb, Parallel, Serial, File };

/// The values are those of "Protocol" in the registry.
enum class PortProtocol : DWORD { Raw = 1, Lpr = 2 };

struct Port {
  std::string name;
  PortKind kind = PortKind::Tcp;
  std::string host;      ///< Tcp: a host name or an address
  DWORD portNumber = 0;  ///< Tcp: 1 to 65535
  PortProtocol protocol = PortProtocol::Raw;
  std::string queue;         ///< Tcp with LPR: the queue's name at the host
  bool byteCounting = true;  ///< Tcp with LPR: the host is told how many bytes come before they do
  std::string path;          ///< File: a Windows path, or a Linux path that begins with "/"; a device's Linux path
  std::string line;          ///< Serial: the line's settings, such as "9600,n,8,1"

  /// True when whoever has one of the two open can go on with the other: they differ in values only.
  bool IsReachedAs(const Port& other) const { return kind == other.kind && protocol == other.protocol; }
};

/// "tcp", "usb", "parallel", "serial", "file", and back.
const char* KindName(PortKind kind);
std::optional<PortKind> FindKind(const std::string& name);

std::vector<Port> ListPorts();
std::optional<Port> FindPort(const std::string& name);
/// Adds the port or changes it, its kind too. False when the registry does not take it.
bool SavePort(const Port& port);
bool RemovePort(const Port& port);

}  // namespace portwise
