#include "xpml/port/port_command.h"

#include <windows.h>

#include <algorithm>
#include <iterator>
#include <string>

#include "connection/parallel_requests.h"
#include "core/hex.h"
#include "monitor/port_context.h"
#include "xpml/document.h"
#include "xpml/port/reply.h"
#include "xpml/tag.h"

namespace portwise {
namespace {

constexpr DWORD kDeviceIdSize = 4096;

std::string Bytes(const OString& text) { return std::string(text.NarrowView()); }

std::string Flag(bool value) { return value ? "1" : "0"; }

std::string TypeOf(PortContext& port) {
  switch (port.PrinterConnection().GetKind()) {
    case ConnectionKind::Tcp:
      return "TCP/IP";
    case ConnectionKind::Com:
      return "COM";
    case ConnectionKind::Parallel:
      return "LPT";
    case ConnectionKind::Usb:
      return "USB";
    default:
      return port.PortName().StartsWithNoCase("file") ? "FILE" : "Unknown";
  }
}

std::string Disconnected(PortContext& port) {
  return Flag(!port.IsTcp() && port.PrinterConnection().GetStatus(STATUS_DISCONNECTED) != 0);
}

/// A property that only a network printer has.
template <class Read>
std::string OfAddress(PortContext& port, Read read) {
  const std::optional<PortAddress> address = port.PrinterConnection().NetworkAddress();
  return address ? read(*address) : std::string();
}

std::string ProtocolName(const PortAddress& address) {
  switch (address.protocol) {
    case kProtocolRaw:
      return "RAW";
    case kProtocolLpr:
      return "LPR";
    default:
      return "";
  }
}

/// Asks the driver of the port. False when it fails, and for a network printer, which has none.
bool AskDriver(PortContext& port, DWORD request, void* in, DWORD inSize, void* out, DWORD outSize) {
  if (port.PrinterConnection().IsNetwork()) return false;
  DWORD returned = 0;
  // Bytes, whatever the types of the interface say.
  return port.GetDeviceData(request, nullptr, static_cast<LPWSTR>(in), inSize, static_cast<LPWSTR>(out), outSize,
                            &returned) != FALSE;
}

std::string ParallelMode(PortContext& port) {
  WORD modes[2] = {};  // to read, to write
  if (!AskDriver(port, kParallelGetModes, nullptr, 0, modes, sizeof modes)) return "";
  return "ReadMode=" + std::to_string(modes[0]) + ",WriteMode=" + std::to_string(modes[1]);
}

std::string ParallelStatus(PortContext& port) {
  BYTE status = 0;
  if (!AskDriver(port, kParallelQueryStatus, nullptr, 0, &status, sizeof status)) return "";
  return "Status=" + EncodeHexNumber(status);
}

std::string ParallelCapabilities(PortContext& port) {
  WORD asked = 0;
  WORD modes = 0;
  if (!AskDriver(port, kParallelQueryModes, &asked, sizeof asked, &modes, sizeof modes)) return "";
  return "Capabilities=" + EncodeHexNumber(modes);
}

std::string DeviceId(PortContext& port) {
  std::string id(kDeviceIdSize, '\0');
  const LONG length = port.PrinterConnection().Control(CONTROL_DEVICE_ID, nullptr, id.data(), kDeviceIdSize);
  id.resize(std::min<size_t>(std::max<LONG>(length, 0), id.size()));
  // Some drivers count the end of the string.
  id.resize(id.find_last_not_of('\0') + 1);
  return id;
}

constexpr struct {
  const char* name;
  std::string (*read)(PortContext& port);
} kProperties[] = {
    {"name", [](PortContext& port) { return Bytes(port.PortName()); }},
    {"bidirectional",
     [](PortContext& port) { return Flag(port.PrinterConnection().GetStatus(STATUS_UNIDIRECTIONAL) == 0); }},
    {"disconnected", Disconnected},
    {"type", TypeOf},
    {"ip_address", [](PortContext& port) { return OfAddress(port, [](auto& at) { return Bytes(at.ipAddress); }); }},
    {"tcp_port",
     [](PortContext& port) { return OfAddress(port, [](auto& at) { return std::to_string(at.portNumber); }); }},
    {"host", [](PortContext& port) { return OfAddress(port, [](auto& at) { return Bytes(at.hostName); }); }},
    {"protocol", [](PortContext& port) { return OfAddress(port, ProtocolName); }},
    {"parallel_mode", ParallelMode},
    {"parallel_status", ParallelStatus},
    {"parallel_capabilities", ParallelCapabilities},
    {"device_id", DeviceId},
};

std::string ReadProperty(PortContext& port, std::string_view name) {
  const auto* row = std::find_if(std::begin(kProperties), std::end(kProperties),
                                 [name](const auto& property) { return EqualsNoCase(name, property.name); });
  return row != std::end(kProperties) ? row->read(port) : std::string();
}

}  // namespace

bool RunPort(XPML_Document& document, PortContext& port) {
  const std::string_view action = document.GetAttribute("action");
  if (EqualsNoCase(action, "get")) {
    ReplaceContent(document, ReadProperty(port, document.GetAttribute("name")));
    return true;
  }
  if (!EqualsNoCase(action, "set")) return false;
  document.CurrentText().Clear();
  return true;
}

bool RunPrinter(XPML_Document& document, PortContext& port) {
  const std::string_view name = document.GetAttribute("name");
  // Without a name no printer is named.
  if (!name.empty()) port.Rebind(OString(name));
  return true;
}

}  // namespace portwise
