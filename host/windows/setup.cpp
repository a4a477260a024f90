#include "host/windows/setup.h"

#include <windows.h>
#include <winspool.h>

#include <charconv>
#include <memory>

#include "core/handles.h"
#include "host/windows/say.h"
#include "settings/printer_registry.h"

namespace portwise {
namespace {

constexpr char kPrint[] = "SYSTEM\\CurrentControlSet\\Control\\Print\\";
constexpr char kTcpPorts[] = "Monitors\\Standard TCP/IP Port\\Ports\\";
constexpr char kLocalPorts[] = "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Ports";
constexpr char kMonitorName[] = "Corvane Network Monitor";
constexpr DWORD kRaw = 1;
constexpr DWORD kLpr = 2;
constexpr DWORD kInterfaceVersion = 3;
#ifdef _WIN64
constexpr char kEnvironment[] = "Windows x64";
constexpr char kDriverFolder[] = "x64";
#else
constexpr char kEnvironment[] = "Windows NT x86";
constexpr char kDriverFolder[] = "w32x86";
#endif

void Check(LSTATUS result, const std::string& what) {
  if (result != ERROR_SUCCESS) throw Failure{what + ": " + ErrorText(static_cast<DWORD>(result))};
}

/// A key of the machine, made when it is missing.
class MachineKey {
 public:
  explicit MachineKey(const OString& path) : path_(ToUtf8(path)) {
    Check(RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.Wide(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, key_.Put(), nullptr),
          path_);
  }
  const MachineKey& Set(const char* name, const OString& text) const {
    const auto size = static_cast<DWORD>((text.View().size() + 1) * sizeof(WCHAR));
    return SetValue(name, REG_SZ, text.Wide(), size);
  }
  const MachineKey& Set(const char* name, DWORD number) const {
    return SetValue(name, REG_DWORD, &number, sizeof number);
  }

 private:
  const MachineKey& SetValue(const OString& name, DWORD type, const void* data, DWORD size) const {
    Check(RegSetValueExW(key_.Get(), name.Wide(), 0, type, static_cast<const BYTE*>(data), size), path_);
    return *this;
  }

  const std::string path_;
  unique_registry_key key_;
};

OString FileName(const OString& path) { return path.Mid(path.ReverseFindAny("\\/") + 1); }

/// Where drivers' files lie; made when it is missing.
OString DriverFolder() {
  WCHAR system[MAX_PATH];
  if (GetSystemDirectoryW(system, MAX_PATH) == 0) throw Failure{"system directory: " + ErrorText(GetLastError())};
  OString folder(system);
  for (const char* part : {"spool", "drivers", kDriverFolder, "3"}) {
    folder += OString("\\") + part;
    CreateDirectoryW(folder.Wide(), nullptr);
  }
  return folder;
}

std::unique_ptr<ORegistry> RegistryOf(const std::string& printer) {
  if (printer.empty()) return std::make_unique<ORegistry>();
  return std::make_unique<PrinterRegistry>(FromUtf8(printer));
}

DWORD ParseNumber(const std::string& text) {
  DWORD number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) throw Failure{"\"" + text + "\" is no number"};
  return number;
}

bool ParseBool(const std::string& text) {
  if (text != "true" && text != "false") throw Failure{"\"" + text + "\" is neither true nor false"};
  return text == "true";
}

}  // namespace

void AddTcpPort(const std::string& name, const std::string& host, unsigned number, bool lpr) {
  const bool address = host.find_first_not_of("0123456789.") == host.npos;
  MachineKey(OString(kPrint) + kTcpPorts + FromUtf8(name))
      .Set("HostName", address ? OString() : FromUtf8(host))
      .Set("IPAddress", address ? FromUtf8(host) : OString())
      .Set("PortNumber", number)
      .Set("Protocol", lpr ? kLpr : kRaw);
}

void AddFilePort(const std::string& path) {
  const OString name = FromUtf8(path);
  unique_registry_key key;
  Check(RegCreateKeyExW(HKEY_LOCAL_MACHINE, OString(kLocalPorts).Wide(), 0, nullptr, 0, KEY_SET_VALUE, nullptr,
                        key.Put(), nullptr),
        kLocalPorts);
  Check(RegSetValueExW(key.Get(), name.Wide(), 0, REG_SZ, reinterpret_cast<const BYTE*>(TEXT("")), sizeof(WCHAR)),
        kLocalPorts);
}

void AddDriver(const std::string& name, const std::vector<std::string>& files) {
  const OString folder = DriverFolder();
  for (const std::string& file : files) {
    const OString from = FromUtf8(file);
    if (!CopyFileW(from.Wide(), (folder + "\\" + FileName(from)).Wide(), FALSE)) {
      throw Failure{file + ": " + ErrorText(GetLastError())};
    }
  }
  const auto fileName = [&](size_t index, const char* otherwise) {
    return index < files.size() ? FileName(FromUtf8(files[index])) : OString(otherwise);
  };
  MachineKey(OString(kPrint) + "Environments\\" + kEnvironment + "\\Drivers\\Version-3\\" + FromUtf8(name))
      .Set("Driver", fileName(0, "missing.dll"))
      .Set("Data File", fileName(1, "MISSING.DAT"))
      .Set("Configuration File", fileName(0, "missing.dll"))
      .Set("Monitor", kMonitorName)
      .Set("Version", kInterfaceVersion);
}

void AddPrinter(const std::string& name, const std::string& port, const std::string& driver, const std::string& share) {
  MachineKey(OString(kPrint) + "Printers\\" + FromUtf8(name))
      .Set("Name", FromUtf8(name))
      .Set("Port", FromUtf8(port))
      .Set("Printer Driver", FromUtf8(driver))
      .Set("Share Name", FromUtf8(share))
      .Set("Description", OString())
      .Set("Print Processor", "winprint")
      .Set("Datatype", "RAW")
      .Set("Attributes", DWORD{PRINTER_ATTRIBUTE_LOCAL | PRINTER_ATTRIBUTE_ENABLE_BIDI} |
                             (share.empty() ? 0 : PRINTER_ATTRIBUTE_SHARED));
}

void SetSetting(const std::string& type, const std::string& path, const std::string& value,
                const std::string& printer) {
  const auto registry = RegistryOf(printer);
  const OString name = FromUtf8(path);
  bool done = false;
  if (type == "bool") {
    done = registry->SetBool(name, ParseBool(value));
  } else if (type == "dword") {
    done = registry->SetDword(name, ParseNumber(value));
  } else if (type == "int") {
    done = registry->SetInt(name, static_cast<LONG>(ParseNumber(value)));
  } else if (type == "string") {
    done = registry->SetString(name, FromUtf8(value));
  } else {
    throw Failure{"there is no type " + type};
  }
  if (!done) throw Failure{path + ": the registry does not take it"};
}

void DenyKey(const std::string& path, const std::string& printer) {
  const auto registry = RegistryOf(printer);
  OString base;
  OString name = FromUtf8(path + "/x");
  if (!registry->Resolve(&base, &name)) throw Failure{path + ": no such key"};
  const unique_registry_key key = registry->OpenKey(base, true);
  ACL nobody;
  SECURITY_DESCRIPTOR descriptor;
  if (!key || !InitializeAcl(&nobody, sizeof nobody, ACL_REVISION) ||
      !InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION) ||
      !SetSecurityDescriptorDacl(&descriptor, TRUE, &nobody, FALSE)) {
    throw Failure{path + ": " + ErrorText(GetLastError())};
  }
  HKEY root = nullptr;
  OString subKey;
  ParseRoot(base, &root, &subKey);
  unique_registry_key writable;
  Check(RegOpenKeyExW(root, subKey.Wide(), 0, WRITE_DAC, writable.Put()), path);
  Check(RegSetKeySecurity(writable.Get(), DACL_SECURITY_INFORMATION, &descriptor), path);
}

}  // namespace portwise
