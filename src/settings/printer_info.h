#pragma once

#include <windows.h>

#include <vector>

#include "core/ostring.h"
#include "core/ostring_array.h"

namespace portwise {

/// What the print spooler knows about a printer and its driver.
///
/// A plain value; one thread at a time. Each thread keeps what it has read for a second, so that any number of these
/// cost few calls of the spooler. Nothing is reported: what the spooler does not tell stays as it was, empty at first.
/// The thread's last error stays as it is.
class PrinterInfo {
 public:
  explicit PrinterInfo(const OString& name) : printerName(name) { Refresh(); }

  /// Takes what this thread has read about the printer in the last 1000 ms, else asks the spooler.
  void Refresh();

  /// Whether the spooler drives the printer in both directions.
  static bool IsBidirectional(const OString& printerName);

  OString printerName;  ///< as it was asked for, then as the spooler spells it
  /// Where the printer lives, without leading backslashes: this computer, another one, or the client of a remote
  /// session.
  OString serverName;
  /// The printer's name on that computer.
  OString shortName;
  OString shareName;
  OString portName;
  OString driverName;
  OString comment;
  OString location;
  OString separatorFile;
  OString printProcessor;
  OString dataType;
  OString parameters;
  std::vector<BYTE> devMode;  ///< with the driver's own part; empty when the printer has none
  DWORD attributes = 0;
  bool remote = false;          ///< serverName is another computer
  bool sessionPrinter = false;  ///< of a remote session's client

  DWORD driverVersion = 0;  ///< of the driver interface
  OString environment;
  OString driverFolder;  ///< without a backslash at its end
  OString driverFile;
  OString dataFile;
  OString configFile;
  OString helpFile;
  OStringArray dependentFiles;
  OString monitorName;
  OString defaultDataType;
  FILETIME driverDate{};
  DWORDLONG driverVersion64 = 0;
  OString manufacturer;
  OString hardwareId;
  OString oemUrl;  ///< of the driver's maker
  OString provider;
  /// The first three characters of the data file's name and the two after them, in lower case.
  OString oemPrefix;
  OString oemCode;

 private:
  friend class PrinterInfoCache;

  PrinterInfo() = default;

  void Load();
  void LoadPrinter(HANDLE printer);
  void LoadDriver(HANDLE printer);
  void FindServer();

  bool loaded_ = false;    // the spooler has been asked; the driver is read only then
  DWORD loadedTicks_ = 0;  // of the last answer about the printer
};

}  // namespace portwise
