#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

/// The printers, at the place of the registry where Windows keeps them. Any thread; names ignore case. Whoever
/// changes the registry changes the printers: what was read serves only as long as nobody has written there.
namespace portwise {

struct Printer {
  std::string name;    ///< "\\server\printer" for a connection to another computer
  std::string server;  ///< "\\server" for a printer of another computer, else empty
  std::string port;
  std::string driver;
  std::string share;  ///< empty when the printer is not shared
  std::string comment;
  std::string location;
  std::string separator;
  std::string processor;
  std::string datatype;
  std::string parameters;
  std::string devMode;   ///< the bytes of its default DEVMODE
  DWORD attributes = 0;  ///< PRINTER_ATTRIBUTE_ flags
};

std::vector<Printer> ListPrinters();
std::optional<Printer> FindPrinter(const std::string& name);
/// The names of the printers of a port.
std::vector<std::string> PrintersOnPort(const std::string& port);

/// Creates or rewrites the printer; false when the registry does not take it. PRINTER_ATTRIBUTE_SHARED follows the
/// share's name.
bool SavePrinter(const Printer& printer);
/// Removes the printer with its settings.
bool RemovePrinter(const std::string& name);

/// The registry's path, below HKEY_LOCAL_MACHINE, of a printer's key.
std::string PrinterKeyPath(const std::string& name);

}  // namespace portwise
