#pragma once

#include <windows.h>

#include "core/ostring.h"

namespace portwise {

/// What a port is, by the port monitor that knows it or else by its name.
enum class PortKind {
  kSerial = 0,
  kParallel = 1,
  kUsb = 3,
  kCorvaneTcp = 4,
  kCorvane = 5,
  kStandardTcp = 6,
  kHpStandardTcp = 7,
  kOther = 10,
};

/// A port that one of the TCP/IP port monitors has registered comes before one that is known by its name. Reads the
/// registry; any thread.
PortKind ClassifyPort(const OString& portName);

/// True when the name is `prefix` and then digits, with any number of colons at the end; case does not count.
bool IsNumberedPort(const OString& prefix, const OString& portName);

/// The key under HKEY_LOCAL_MACHINE where the port monitor keeps the port. For a port that no TCP/IP port monitor has
/// registered it is a key that does not exist.
OString MonitorPortKeyPath(const OString& portName);

/// What a TCP/IP port monitor keeps of a port. Values that are missing or unreadable are empty or 0.
struct PortAddress {
  OString hostName;
  OString ipAddress;
  DWORD portNumber = 0;
  DWORD protocol = 0;

  bool operator==(const PortAddress&) const = default;
};

constexpr DWORD kProtocolRaw = 1;
constexpr DWORD kProtocolLpr = 2;

/// False when no TCP/IP port monitor has registered the port; `address` is then empty.
bool ReadPortAddress(const OString& portName, PortAddress* address);

}  // namespace portwise
