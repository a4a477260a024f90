#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

/// The printer drivers, at the place of the registry where Windows keeps them. Any thread; names ignore case.
namespace portwise {

inline constexpr char kDriverEnvironment[] = "Windows x64";

struct PrinterDriver {
  std::string name;
  std::string file;  ///< with its folder
  std::string dataFile;
  std::string configFile;
  std::string helpFile;
  std::vector<std::string> dependentFiles;
  std::string monitor;
  std::string datatype;
  DWORD version = 3;          ///< of the driver interface
  std::string driverDate;     ///< "MM/DD/YYYY"
  std::string driverVersion;  ///< four numbers with dots between them
  std::string manufacturer;
  std::string hardwareId;
  std::string oemUrl;
  std::string provider;
};

std::optional<PrinterDriver> FindDriver(const std::string& name);

/// Registers a driver of the label printers under `name`, or changes the files of one that is there. False when the
/// registry does not take it.
bool SaveDriver(const std::string& name, const std::string& driverFile, const std::string& dataFile);

/// The file's name without folder and extension: what a driver is called unless somebody says otherwise.
std::string DriverNameOfFile(const std::string& driverFile);

}  // namespace portwise
