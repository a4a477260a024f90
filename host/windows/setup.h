#pragma once

#include <string>
#include <vector>

/// What the host puts where Windows keeps it: ports, drivers, printers and settings. All throw Failure.
namespace portwise {

/// What went wrong, for a line.
struct Failure {
  std::string text;
};

/// A TCP port, as the standard TCP/IP port monitor keeps it.
void AddTcpPort(const std::string& name, const std::string& host, unsigned number, bool lpr);
/// A file, as the local port monitor keeps it: the port's name is the file's.
void AddFilePort(const std::string& path);

/// The files go to the folder of drivers. The first is the driver's, the second its data file; more are those that they
/// need, such as a plug-in. None at all are a driver whose files are missing.
void AddDriver(const std::string& name, const std::vector<std::string>& files);
void AddPrinter(const std::string& name, const std::string& port, const std::string& driver, const std::string& share);

/// A setting by its logical path, which may depend on a printer. `type` is bool, dword, int or string.
void SetSetting(const std::string& type, const std::string& path, const std::string& value, const std::string& printer);
/// Takes all rights to a key away, from everyone.
void DenyKey(const std::string& path, const std::string& printer);

}  // namespace portwise
