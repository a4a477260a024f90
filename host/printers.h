#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

/// The printers, at the place of the registry where Windows keeps them. Any thread; names ignore case. Nothing is
/// cached: whoever changes the registry changes the printers.
namespace portwise {

struct Printer {
  std::string name;
  std::string port;
  std::string driver;
  std::string share;  ///< empty when the printer is not shared
  std::string comment;
  std::string location;
  DWORD attributes = 0;  ///< PRINTER_ATTRIBUTE_ flags
};

std::vector<Printer> ListPrinters();
std::optional<Printer> FindPrinter(const std::string& name);
/// The names of the printers of a port.
std::vector<std::string> PrintersOnPort(const std::string& port);

/// Creates or rewrites the printer; false when the registry does not take it.
bool SavePrinter(const Printer& printer);
/// Removes the printer with its settings.
bool RemovePrinter(const std::string& name);

/// Registers a driver of the label printers by its file and data file, and returns its name: the file's name without
/// folder and extension. Empty when the registry does not take it.
std::string SaveDriver(const std::string& driverFile, const std::string& dataFile);

}  // namespace portwise
