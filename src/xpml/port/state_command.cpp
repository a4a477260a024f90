#include "xpml/port/state_command.h"

#include <windows.h>

#include <algorithm>

#include "core/exception.h"
#include "core/file_version_info.h"
#include "core/hex.h"
#include "core/operating_system_info.h"
#include "monitor/port_context.h"
#include "settings/printer_registry.h"
#include "settings/settings_catalogue.h"
#include "xpml/document.h"
#include "xpml/port/reply.h"
#include "xpml/tag.h"

namespace portwise {
namespace {

bool IsMonitoringSupported(PortContext& port) {
  return port.StatusWatch().WaitStarted() && port.Plugin().SupportsStatus(port.PrinterConnection().GetKind());
}

/// The status as clients are told it, who count as its readers.
PrinterStatus StatusForClient(PortContext& port) {
  if (!IsMonitoringSupported(port)) return PrinterStatus(kStatusMonitoringNotSupported);
  port.StatusWatch().NoteStatusRead();
  return port.StatusWatch().CurrentStatus();
}

OString Flag(bool value) { return value ? "1" : "0"; }

OString ConfigurationSharing(PortContext& port, const XPML_Document& document) {
  const Setting& setting = FindSetting(SettingId::ConfigurationSharing);
  return Flag(PrinterRegistry(port.PrinterOf(document)).GetBool(setting.path, setting.number != 0));
}

OString MonitorVersion(PortContext&, const XPML_Document&) {
  try {
    return FileVersionInfo("portwise.dll").GetString("ProductVersion");
  } catch (const OException&) {
    return OString();  // a copy without a version resource
  }
}

OString SystemDescription(PortContext&, const XPML_Document&) { return OperatingSystemInfo::Get().Description(); }

OString StatusWords(PortContext& port, const XPML_Document& document) {
  return port.Texts().In(OString(document.GetAttribute("language")), StatusForClient(port), PrinterStatus::kCommas);
}

OString StatusCode(PortContext& port, const XPML_Document&) {
  return OString(EncodeHexNumber(StatusForClient(port).Primary()));
}

OString StatusSeverity(PortContext& port, const XPML_Document&) {
  return OString::FromUnsigned(static_cast<unsigned>(StatusForClient(port).Severity()));
}

OString StatusFlags2(PortContext& port, const XPML_Document&) {
  return OString(EncodeHexNumber(StatusForClient(port).Flags2()));
}

OString MonitoringSupported(PortContext& port, const XPML_Document&) { return Flag(IsMonitoringSupported(port)); }

struct StateItem {
  const char* name;
  OString (*read)(PortContext& port, const XPML_Document& document);
};

constexpr StateItem kItems[] = {
    {"Configuration Sharing", ConfigurationSharing},
    {"Monitor Version", MonitorVersion},
    {"OS", SystemDescription},
    {"Status", StatusWords},
    {"Status Code", StatusCode},
    {"Status Severity", StatusSeverity},
    {"Status Flags 2", StatusFlags2},
    {"Monitoring Supported", MonitoringSupported},
};

}  // namespace

bool RunState(XPML_Document& document, PortContext& port) {
  if (!EqualsNoCase(document.GetAttribute("action"), "get")) return true;
  const std::string_view name = document.GetAttribute("name");
  const auto* item = std::find_if(std::begin(kItems), std::end(kItems),
                                  [name](const StateItem& each) { return EqualsNoCase(name, each.name); });
  if (item == std::end(kItems)) return true;
  const OString reply = item->read(port, document);
  return AppendToContent(document, reply.NarrowView());
}

}  // namespace portwise
