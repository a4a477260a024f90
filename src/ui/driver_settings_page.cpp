#include "ui/driver_settings_page.h"

#include "core/unique_resource.h"
#include "portwise/driver_ui.h"
#include "settings/printer_info.h"
#include "settings/printer_registry.h"
#include "settings/settings_catalogue.h"

namespace portwise {
namespace {

struct StatusSettingsTraits {
  using Value = IPortwiseStatusSettings*;
  static Value None() { return nullptr; }
  static bool IsNone(Value value) { return value == nullptr; }
  static void Release(Value value) { value->Release(); }
};

OString ClassOf(const OString& printer) {
  return PrinterRegistry(printer).GetString(FindSetting(SettingId::UserInterfaceClass).path);
}

}  // namespace

bool HasStatusSettings(const OString& printer) { return !ClassOf(printer).IsEmpty(); }

bool ShowStatusSettings(const OString& printer, HWND owner) {
  CLSID id = {};
  if (FAILED(CLSIDFromString(ClassOf(printer).Wide(), &id))) return false;
  void* made = nullptr;
  if (FAILED(CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IPortwiseStatusSettings, &made))) return false;
  const UniqueResource<StatusSettingsTraits> settings(static_cast<IPortwiseStatusSettings*>(made));
  const OString server = PrinterInfo(printer).serverName;
  return SUCCEEDED(settings.Get()->ShowStatusMonitoring(printer.Wide(), owner, server.Wide()));
}

}  // namespace portwise
