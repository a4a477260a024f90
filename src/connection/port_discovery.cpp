#include "connection/port_discovery.h"

#include "core/handles.h"

namespace portwise {
namespace {

struct MonitorRow {
  PortKind kind;
  const char* monitor;
};

/// The port monitors whose ports may be printed to directly, in the order in which they are asked.
constexpr MonitorRow kMonitors[] = {
    {PortKind::kCorvaneTcp, "Corvane TCP/IP Port"},
    {PortKind::kCorvane, "Corvane Port"},
    {PortKind::kStandardTcp, "Standard TCP/IP Port"},
    {PortKind::kHpStandardTcp, "HP Standard TCP/IP Port"},
};

struct NameRow {
  PortKind kind;
  const char* prefix;
};

constexpr NameRow kNames[] = {
    {PortKind::kUsb, "USB"},
    {PortKind::kParallel, "LPT"},
    {PortKind::kSerial, "COM"},
};

/// Units of a text value, the NUL included.
constexpr DWORD kTextCapacity = 260;

/// `monitor` is empty or ends with a backslash.
OString PortKeyPath(const OString& monitor, const OString& portName) {
  return OString("System\\CurrentControlSet\\Control\\Print\\Monitors\\") + monitor + "Ports\\" + portName;
}

OString PortKeyPath(const MonitorRow& row, const OString& portName) {
  return PortKeyPath(OString(row.monitor) + "\\", portName);
}

unique_registry_key OpenMachineKey(const OString& path) {
  unique_registry_key key;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.Wide(), 0, KEY_READ, key.Put()) != ERROR_SUCCESS) return {};
  return key;
}

const MonitorRow* FindMonitor(const OString& portName) {
  // Without a name the path would be that of the ports' parent, which exists.
  if (portName.IsEmpty()) return nullptr;
  for (const MonitorRow& row : kMonitors) {
    if (OpenMachineKey(PortKeyPath(row, portName))) return &row;
  }
  return nullptr;
}

OString ReadText(HKEY key, LPCWSTR name) {
  WCHAR text[kTextCapacity + 1] = {};
  DWORD type = 0;
  DWORD size = kTextCapacity * sizeof(WCHAR);
  if (RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(text), &size) != ERROR_SUCCESS) return {};
  if (type != REG_SZ && type != REG_EXPAND_SZ) return {};
  text[size / sizeof(WCHAR)] = 0;
  return OString(text);
}

DWORD ReadNumber(HKEY key, LPCWSTR name) {
  DWORD number = 0;
  DWORD size = sizeof number;
  DWORD type = 0;
  const LONG result = RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(&number), &size);
  return result == ERROR_SUCCESS && type == REG_DWORD && size == sizeof number ? number : 0;
}

}  // namespace

PortKind ClassifyPort(const OString& portName) {
  if (const MonitorRow* row = FindMonitor(portName)) return row->kind;
  for (const NameRow& row : kNames) {
    if (IsNumberedPort(row.prefix, portName)) return row.kind;
  }
  return PortKind::kOther;
}

bool IsNumberedPort(const OString& prefix, const OString& portName) {
  const OString start = prefix.ToLower();
  OString name = portName.ToLower();
  name.TrimRight(":");
  const int digits = start.Length();
  if (name.Length() <= digits || name.Left(digits) != start) return false;
  for (int i = digits; i < name.Length(); ++i) {
    if (name[i] < '0' || name[i] > '9') return false;
  }
  return true;
}

OString MonitorPortKeyPath(const OString& portName) {
  const MonitorRow* row = FindMonitor(portName);
  return row != nullptr ? PortKeyPath(*row, portName) : PortKeyPath(OString(), portName);
}

bool ReadPortAddress(const OString& portName, PortAddress* address) {
  *address = {};
  const MonitorRow* row = FindMonitor(portName);
  if (row == nullptr) return false;
  const unique_registry_key key = OpenMachineKey(PortKeyPath(*row, portName));
  if (!key) return false;
  address->hostName = ReadText(key.Get(), TEXT("HostName"));
  address->ipAddress = ReadText(key.Get(), TEXT("IPAddress"));
  address->portNumber = ReadNumber(key.Get(), TEXT("PortNumber"));
  address->protocol = ReadNumber(key.Get(), TEXT("Protocol"));
  return true;
}

}  // namespace portwise
