#include "host/ports.h"

#include <arpa/inet.h>

#include "host/names.h"
#include "host/registry_key.h"

namespace portwise {

namespace {

constexpr DWORD kProtocolRaw = 1;

struct PortPlace {
  PortKind kind;
  const char* path;
};

constexpr PortPlace kPlaces[] = {
    {PortKind::Tcp, R"(SYSTEM\CurrentControlSet\Control\Print\Monitors\Standard TCP/IP Port\Ports)"},
    {PortKind::File, R"(SYSTEM\CurrentControlSet\Control\Print\Monitors\Local Port\Ports)"},
};

bool IsAddress(const std::string& host) {
  in6_addr address;
  return inet_pton(AF_INET, host.c_str(), &address) == 1 || inet_pton(AF_INET6, host.c_str(), &address) == 1;
}

std::string KeyPath(PortKind kind, const std::string& name) {
  for (const PortPlace& place : kPlaces) {
    if (place.kind == kind) return std::string(place.path) + "\\" + KeyOfName(name);
  }
  return {};
}

std::optional<Port> ReadPort(PortKind kind, const std::string& name) {
  RegistryKey key = RegistryKey::Open(KeyPath(kind, name));
  if (!key) return std::nullopt;
  Port port;
  port.name = name;
  port.kind = kind;
  if (kind == PortKind::File) {
    port.file = key.GetText("File");
    return port;
  }
  port.host = key.GetText("HostName");
  if (port.host.empty()) port.host = key.GetText("IPAddress");
  port.portNumber = key.GetNumber("PortNumber").value_or(0);
  return port;
}

}  // namespace

std::vector<Port> ListPorts() {
  std::vector<Port> ports;
  for (const PortPlace& place : kPlaces) {
    for (const std::string& name : RegistryKey::Open(place.path).Subkeys()) {
      if (auto port = ReadPort(place.kind, NameOfKey(name))) ports.push_back(*port);
    }
  }
  return ports;
}

std::optional<Port> FindPort(const std::string& name) {
  if (!NameOrRemoteFault("port", name).empty()) return std::nullopt;
  for (const PortPlace& place : kPlaces) {
    // The name is listed rather than opened, so that it comes back in the case it was given.
    for (const std::string& found : RegistryKey::Open(place.path).Subkeys()) {
      if (NameKey(NameOfKey(found)) == NameKey(name)) return ReadPort(place.kind, NameOfKey(found));
    }
  }
  return std::nullopt;
}

bool SavePort(const Port& port) {
  RegistryKey key = RegistryKey::Create(KeyPath(port.kind, port.name));
  if (port.kind == PortKind::File) return key.SetText("File", port.file);
  bool address = IsAddress(port.host);
  return key.SetText("HostName", address ? "" : port.host) && key.SetText("IPAddress", address ? port.host : "") &&
         key.SetNumber("PortNumber", port.portNumber) && key.SetNumber("Protocol", kProtocolRaw);
}

bool RemovePort(const Port& port) { return DeleteRegistryTree(KeyPath(port.kind, port.name)); }

}  // namespace portwise
