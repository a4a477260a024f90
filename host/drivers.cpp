#include "host/drivers.h"

#include "host/names.h"
#include "host/registry_key.h"

namespace portwise {

namespace {

constexpr char kDrivers[] = R"(SYSTEM\CurrentControlSet\Control\Print\Environments\Windows x64\Drivers\Version-3)";
/// Where drivers lie whose registration names only the file.
constexpr char kDriverFolder[] = R"(C:\Windows\System32\spool\drivers\x64\3\)";
constexpr char kMonitorName[] = "Corvane Network Monitor";
constexpr DWORD kInterfaceVersion = 3;

struct {
  const char* value;
  std::string PrinterDriver::*member;
} constexpr kTexts[] = {
    {"Driver", &PrinterDriver::file},
    {"Data File", &PrinterDriver::dataFile},
    {"Configuration File", &PrinterDriver::configFile},
    {"Help File", &PrinterDriver::helpFile},
    {"Monitor", &PrinterDriver::monitor},
    {"Datatype", &PrinterDriver::datatype},
    {"DriverDate", &PrinterDriver::driverDate},
    {"DriverVersion", &PrinterDriver::driverVersion},
    {"Manufacturer", &PrinterDriver::manufacturer},
    {"HardwareID", &PrinterDriver::hardwareId},
    {"OEM URL", &PrinterDriver::oemUrl},
    {"Provider", &PrinterDriver::provider},
};

std::string KeyPath(const std::string& driver) { return std::string(kDrivers) + "\\" + driver; }

/// The file with its folder.
std::string InDriverFolder(const std::string& file) {
  return file.empty() || file.find_first_of("\\/") != file.npos ? file : kDriverFolder + file;
}

}  // namespace

std::optional<PrinterDriver> FindDriver(const std::string& name) {
  if (!NameFault("driver", name).empty()) return std::nullopt;
  RegistryKey key = RegistryKey::Open(KeyPath(name));
  if (!key) return std::nullopt;
  PrinterDriver driver;
  driver.name = name;
  for (const auto& text : kTexts) driver.*text.member = key.GetText(text.value);
  driver.version = key.GetNumber("Version").value_or(kInterfaceVersion);
  driver.dependentFiles = key.GetTexts("Dependent Files");
  for (std::string* file : {&driver.file, &driver.dataFile, &driver.configFile, &driver.helpFile})
    *file = InDriverFolder(*file);
  for (std::string& file : driver.dependentFiles) file = InDriverFolder(file);
  return driver;
}

bool SaveDriver(const std::string& name, const std::string& driverFile, const std::string& dataFile) {
  RegistryKey key = RegistryKey::Create(KeyPath(name));
  return key.SetText("Driver", driverFile) && key.SetText("Data File", dataFile) &&
         key.SetText("Monitor", kMonitorName) && key.SetNumber("Version", kInterfaceVersion);
}

std::string DriverNameOfFile(const std::string& driverFile) {
  std::string name = driverFile.substr(driverFile.find_last_of("\\/") + 1);
  if (std::size_t dot = name.rfind('.'); dot != std::string::npos && dot > 0) name.resize(dot);
  return name;
}

}  // namespace portwise
