#include "host/printers.h"

#include <winspool.h>

#include <mutex>
#include <unordered_map>

#include "host/names.h"
#include "host/registry_key.h"
#include "platform/registry/registry_control.h"

namespace portwise {

namespace {

constexpr char kPrinters[] = R"(SYSTEM\CurrentControlSet\Control\Print\Printers)";
constexpr char kDevMode[] = "Default DevMode";

struct {
  const char* value;
  std::string Printer::*member;
} constexpr kTexts[] = {
    {"Name", &Printer::name},
    {"Server", &Printer::server},
    {"Port", &Printer::port},
    {"Printer Driver", &Printer::driver},
    {"Share Name", &Printer::share},
    {"Description", &Printer::comment},
    {"Location", &Printer::location},
    {"Separator File", &Printer::separator},
    {"Print Processor", &Printer::processor},
    {"Datatype", &Printer::datatype},
    {"Parameters", &Printer::parameters},
};

std::optional<Printer> ReadPrinter(const std::string& name) {
  if (!NameOrRemoteFault("printer", name).empty()) return std::nullopt;
  RegistryKey key = RegistryKey::Open(PrinterKeyPath(name));
  if (!key) return std::nullopt;
  Printer printer;
  for (const auto& text : kTexts) printer.*text.member = key.GetText(text.value);
  // A key that holds only settings of a printer that was removed elsewhere is no printer.
  if (printer.name.empty() || printer.port.empty()) return std::nullopt;
  if (printer.server.empty() && IsRemoteName(printer.name))
    printer.server = printer.name.substr(0, printer.name.find('\\', 2));
  if (auto devMode = key.GetValue(kDevMode)) printer.devMode = devMode->data;
  printer.attributes = key.GetNumber("Attributes").value_or(PRINTER_ATTRIBUTE_LOCAL);
  return printer;
}

/// What was read of the registry in its present version. Every request asks for its printer several times, and a
/// printer is a dozen values.
class PrinterCache {
 public:
  static PrinterCache& Get() {
    static auto* cache = new PrinterCache;
    return *cache;
  }

  std::optional<Printer> Find(const std::string& name) {
    // The version is older than what is read: what changes in between is read again.
    const auto version = platform::CurrentRegistryVersion();
    if (!version) return ReadPrinter(name);
    const std::u16string key = NameKey(name);
    {
      std::lock_guard lock(mutex_);
      if (version_ != version) printers_.clear();
      version_ = version;
      if (auto found = printers_.find(key); found != printers_.end()) return found->second;
    }
    std::optional<Printer> printer = ReadPrinter(name);
    if (printer) {
      std::lock_guard lock(mutex_);
      if (version_ == version) printers_.insert_or_assign(key, *printer);
    }
    return printer;
  }

 private:
  std::mutex mutex_;
  std::optional<platform::RegistryVersion> version_;
  std::unordered_map<std::u16string, Printer> printers_;
};

}  // namespace

std::string PrinterKeyPath(const std::string& name) { return std::string(kPrinters) + "\\" + KeyOfName(name); }

std::vector<Printer> ListPrinters() {
  std::vector<Printer> printers;
  for (const std::string& name : RegistryKey::Open(kPrinters).Subkeys()) {
    if (auto printer = FindPrinter(NameOfKey(name))) printers.push_back(*printer);
  }
  return printers;
}

std::optional<Printer> FindPrinter(const std::string& name) { return PrinterCache::Get().Find(name); }

std::vector<std::string> PrintersOnPort(const std::string& port) {
  std::vector<std::string> names;
  for (const Printer& printer : ListPrinters()) {
    if (NameKey(printer.port) == NameKey(port)) names.push_back(printer.name);
  }
  return names;
}

bool SavePrinter(const Printer& printer) {
  RegistryKey key = RegistryKey::Create(PrinterKeyPath(printer.name));
  DWORD shared = printer.share.empty() ? 0 : PRINTER_ATTRIBUTE_SHARED;
  bool saved = key.SetNumber("Attributes", (printer.attributes & ~PRINTER_ATTRIBUTE_SHARED) | shared);
  for (const auto& text : kTexts) saved = saved && key.SetText(text.value, printer.*text.member);
  if (!printer.devMode.empty()) saved = saved && key.SetValue(kDevMode, {REG_BINARY, printer.devMode});
  return saved;
}

bool RemovePrinter(const std::string& name) { return DeleteRegistryTree(PrinterKeyPath(name)); }

}  // namespace portwise
