#include "plugin/plugin_loader.h"

namespace portwise {

OString PluginFileName(const PrinterInfo& printer) {
  // A driver that was registered with slashes between its folders keeps them.
  const bool slashes = printer.driverFolder.Find('/') >= 0 && printer.driverFolder.Find('\\') < 0;
  return printer.driverFolder + (slashes ? "/" : "\\") + printer.oemCode + "#" + printer.oemPrefix + "-u.dll";
}

unique_module LoadPluginLibrary(const OString& printerName) {
  return unique_module(LoadLibraryW(PluginFileName(PrinterInfo(printerName)).Wide()));
}

}  // namespace portwise
