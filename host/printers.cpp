#include "host/printers.h"

#include <winspool.h>

#include "host/names.h"
#include "host/registry_key.h"

namespace portwise {

namespace {

constexpr char kPrinters[] = R"(SYSTEM\CurrentControlSet\Control\Print\Printers)";
constexpr char kDrivers[] = R"(SYSTEM\CurrentControlSet\Control\Print\Environments\Windows x64\Drivers\Version-3)";
constexpr char kMonitorName[] = "Corvane Network Monitor";

struct {
  const char* value;
  std::string Printer::*member;
} constexpr kTexts[] = {
    {"Name", &Printer::name},        {"Port", &Printer::port},           {"Printer Driver", &Printer::driver},
    {"Share Name", &Printer::share}, {"Description", &Printer::comment}, {"Location", &Printer::location},
};

std::string KeyPath(const std::string& printer) { return std::string(kPrinters) + "\\" + printer; }

}  // namespace

std::vector<Printer> ListPrinters() {
  std::vector<Printer> printers;
  for (const std::string& name : RegistryKey::Open(kPrinters).Subkeys()) {
    if (auto printer = FindPrinter(name)) printers.push_back(*printer);
  }
  return printers;
}

std::optional<Printer> FindPrinter(const std::string& name) {
  if (!NameFault("printer", name).empty()) return std::nullopt;
  RegistryKey key = RegistryKey::Open(KeyPath(name));
  if (!key) return std::nullopt;
  Printer printer;
  for (const auto& text : kTexts) printer.*text.member = key.GetText(text.value);
  // A key that holds only settings of a printer that was removed elsewhere is no printer.
  if (printer.name.empty() || printer.port.empty()) return std::nullopt;
  printer.attributes = key.GetNumber("Attributes").value_or(PRINTER_ATTRIBUTE_LOCAL);
  return printer;
}

std::vector<std::string> PrintersOnPort(const std::string& port) {
  std::vector<std::string> names;
  for (const Printer& printer : ListPrinters()) {
    if (NameKey(printer.port) == NameKey(port)) names.push_back(printer.name);
  }
  return names;
}

bool SavePrinter(const Printer& printer) {
  RegistryKey key = RegistryKey::Create(KeyPath(printer.name));
  bool saved = key.SetText("Print Processor", "winprint") && key.SetText("Datatype", "RAW");
  DWORD shared = printer.share.empty() ? 0 : PRINTER_ATTRIBUTE_SHARED;
  DWORD attributes = (printer.attributes & ~PRINTER_ATTRIBUTE_SHARED) | PRINTER_ATTRIBUTE_LOCAL | shared;
  saved = saved && key.SetNumber("Attributes", attributes);
  for (const auto& text : kTexts) saved = saved && key.SetText(text.value, printer.*text.member);
  return saved;
}

bool RemovePrinter(const std::string& name) { return DeleteRegistryTree(KeyPath(name)); }

std::string SaveDriver(const std::string& driverFile, const std::string& dataFile) {
  std::string name = driverFile.substr(driverFile.find_last_of("\\/") + 1);
  if (std::size_t dot = name.rfind('.'); dot != std::string::npos && dot > 0) name.resize(dot);
  if (!NameFault("driver", name).empty()) return {};
  RegistryKey key = RegistryKey::Create(std::string(kDrivers) + "\\" + name);
  bool saved =
      key.SetText("Driver", driverFile) && key.SetText("Data File", dataFile) && key.SetText("Monitor", kMonitorName);
  return saved ? name : std::string();
}

}  // namespace portwise
