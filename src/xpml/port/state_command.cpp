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

OString ConfigurationSharing(PortContext& port, std::string_view) {
  const Setting& setting = FindSetting(SettingId::ConfigurationSharing);
  return Flag(PrinterRegistry(port.PrinterName()).GetBool(setting.path, setting.number != 0));
}

OString MonitorVersion(PortContext&, std::string_view) {
  try {
    return FileVersionInfo("portwise.dll").GetString("ProductVersion");
  } catch (const OException&) {
    return OString();  // a copy without a version resource
  }
}

OString SystemDescription(PortContext&, std::string_view) { return OperatingSystemInfo::Get().Description(); }

OString StatusWords(PortContext& port, std::string_view language) {
  return port.Texts().In(OString(language), StatusForClient(port), PrinterStatus::kCommas);
}

OString StatusCode(PortContext& port, std::string_view) {
  return OString(EncodeHexNumber(StatusForClient(port).Primary()));
}

OString StatusSeverity(PortContext& port, std::string_view) {
  return OString::FromUnsigned(static_cast<unsigned>(StatusForClient(port).Severity()));
}

OString StatusFlags2(PortContext& port, std::string_view) {
  return OString(EncodeHexNumber(StatusForClient(port).Flags2()));
}

OString MonitoringSupported(PortContext& port, std::string_view) { return Flag(IsMonitoringSupported(port)); }

struct StateItem {
  const char* name;
  OString (*read)(PortContext& port, std::string_view language);
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
  if (!OString(document.GetAttribute("action")).EqualsNoCase("get")) return true;
  const OString name(document.GetAttribute("name"));
  const auto* item = std::find_if(std::begin(kItems), std::end(kItems),
                                  [&](const StateItem& each) { return name.EqualsNoCase(each.name); });
  if (item == std::end(kItems)) return true;
  const OString reply = item->read(port, document.GetAttribute("language"));
  return AppendToContent(document, reply.NarrowView());
}

}  // namespace portwise
