#include "host/ports.h"

#include <arpa/inet.h>

#include <algorithm>

#include "host/names.h"
#include "host/registry_key.h"

namespace portwise {

namespace {

constexpr char kMonitors[] = R"(SYSTEM\CurrentControlSet\Control\Print\Monitors\)";

struct KindRow {
  PortKind kind;
  const char* name;
  const char* monitor;
  const char* pathValue;  ///< where the path of a file or a device is kept
};

/// Ports of one monitor tell their kind by the value "Kind"; the last row of the monitor is that of a port without it.
constexpr KindRow kKinds[] = {
    {PortKind::Tcp, "tcp", "Standard TCP/IP Port", nullptr}, {PortKind::Usb, "usb", "USB Monitor", "Device"},
    {PortKind::Parallel, "parallel", "Local Port", "File"},  {PortKind::Serial, "serial", "Local Port", "File"},
    {PortKind::File, "file", "Local Port", "File"},
};

const KindRow& RowOf(PortKind kind) {
  return *std::find_if(std::begin(kKinds), std::end(kKinds), [&](const KindRow& row) { return row.kind == kind; });
}

std::string PortsPath(const std::string& monitor) { return kMonitors + monitor + R"(\Ports)"; }

std::string KeyPath(const std::string& monitor, const std::string& name) {
  return PortsPath(monitor) + "\\" + KeyOfName(name);
}

std::vector<std::string> Monitors() {
  std::vector<std::string> monitors;
  for (const KindRow& row : kKinds) {
    if (monitors.empty() || monitors.back() != row.monitor) monitors.push_back(row.monitor);
  }
  return monitors;
}

bool IsAddress(const std::string& host) {
  in6_addr address;
  return inet_pton(AF_INET, host.c_str(), &address) == 1 || inet_pton(AF_INET6, host.c_str(), &address) == 1;
}

const KindRow& KindAt(const RegistryKey& key, const std::string& monitor) {
  const std::string kind = key.GetText("Kind");
  const KindRow* found = nullptr;
  for (const KindRow& row : kKinds) {
    if (row.monitor != monitor) continue;
    found = &row;
    if (row.name == kind) break;
  }
  return *found;
}

void ReadTcp(const RegistryKey& key, Port* port) {
  port->host = key.GetText("HostName");
  if (port->host.empty()) port->host = key.GetText("IPAddress");
  port->portNumber = key.GetNumber("PortNumber").value_or(0);
  const DWORD protocol = key.GetNumber("Protocol").value_or(0);
  port->protocol = protocol == static_cast<DWORD>(PortProtocol::Lpr) ? PortProtocol::Lpr : PortProtocol::Raw;
  port->queue = key.GetText("Queue");
  port->byteCounting = key.GetNumber("Double Spool").value_or(1) != 0;
}

bool WriteTcp(const RegistryKey& key, const Port& port) {
  const bool address = IsAddress(port.host);
  return key.SetText("HostName", address ? "" : port.host) && key.SetText("IPAddress", address ? port.host : "") &&
         key.SetNumber("PortNumber", port.portNumber) && key.SetNumber("Protocol", static_cast<DWORD>(port.protocol)) &&
         key.SetText("Queue", port.queue) && key.SetNumber("Double Spool", port.byteCounting);
}

std::optional<Port> ReadPort(const std::string& monitor, const std::string& name) {
  RegistryKey key = RegistryKey::Open(KeyPath(monitor, name));
  if (!key) return std::nullopt;
  const KindRow& row = KindAt(key, monitor);
  Port port;
  port.name = name;
  port.kind = row.kind;
  if (row.kind == PortKind::Tcp) ReadTcp(key, &port);
  if (row.pathValue) port.path = key.GetText(row.pathValue);
  if (row.kind == PortKind::Serial) port.line = key.GetText("Line");
  return port;
}

}  // namespace

const char* KindName(PortKind kind) { return RowOf(kind).name; }

std::optional<PortKind> FindKind(const std::string& name) {
  for (const KindRow& row : kKinds) {
    if (row.name == name) return row.kind;
  }
  return std::nullopt;
}

std::vector<Port> ListPorts() {
  std::vector<Port> ports;
  for (const std::string& monitor : Monitors()) {
    for (const std::string& name : RegistryKey::Open(PortsPath(monitor)).Subkeys()) {
      if (auto port = ReadPort(monitor, NameOfKey(name))) ports.push_back(*port);
    }
  }
  return ports;
}

std::optional<Port> FindPort(const std::string& name) {
  if (!NameOrRemoteFault("port", name).empty()) return std::nullopt;
  for (const std::string& monitor : Monitors()) {
    // The name is listed rather than opened, so that it comes back in the case it was given.
    for (const std::string& found : RegistryKey::Open(PortsPath(monitor)).Subkeys()) {
      if (NameKey(NameOfKey(found)) == NameKey(name)) return ReadPort(monitor, NameOfKey(found));
    }
  }
  return std::nullopt;
}

bool SavePort(const Port& port) {
  const KindRow& row = RowOf(port.kind);
  RegistryKey key = RegistryKey::Create(KeyPath(row.monitor, port.name));
  bool saved = key.SetText("Kind", row.name);
  if (row.kind == PortKind::Tcp) saved = saved && WriteTcp(key, port);
  if (row.pathValue) saved = saved && key.SetText(row.pathValue, port.path);
  if (row.kind == PortKind::Serial) saved = saved && key.SetText("Line", port.line);
  // Only now, so that the port never is nowhere when it moves to another monitor.
  for (const std::string& monitor : Monitors()) {
    if (saved && monitor != row.monitor) saved = DeleteRegistryTree(KeyPath(monitor, port.name));
  }
  return saved;
}

bool RemovePort(const Port& port) { return DeleteRegistryTree(KeyPath(RowOf(port.kind).monitor, port.name)); }

}  // namespace portwise
