#pragma once

#include <winsplp.h>

#include <memory>
#include <string>

namespace portwise {

/// A port as the loaded print monitor holds it open; closed when destroyed. One thread at a time, but for GetData. No
/// caller may hold a lock: the monitor calls the spooler back on the same thread.
class MonitorPort {
 public:
  MonitorPort(const MONITOR2& functions, HANDLE handle) : functions_(functions), handle_(handle) {}
  ~MonitorPort();
  MonitorPort(const MonitorPort&) = delete;
  MonitorPort& operator=(const MonitorPort&) = delete;

  /// All return false with the last error, which is 0 when the monitor gave none.
  bool StartDoc(const std::string& printer, DWORD job, const std::string& document);
  /// `written` is at most `size`, whatever the monitor says.
  bool Write(BYTE* buffer, DWORD size, DWORD* written);
  bool EndDoc();
  /// Asks the monitor for a value of the printer's data; any thread. `needed` is the size of the answer. False
  /// when it has none to give; `needed` is then what it would have given with more room, or 0.
  bool GetData(const std::string& value, void* data, DWORD size, DWORD* needed);

 private:
  const MONITOR2& functions_;
  HANDLE handle_;
};

/// The print monitor that the spooler drives its ports through. Lives to the end of the process once loaded, since
/// threads of the monitor may still be running; Shutdown tells it that nothing more comes.
class MonitorLibrary {
 public:
  /// Loads the library that the registry names for the monitor. Null when it cannot be used.
  static std::unique_ptr<MonitorLibrary> Load(std::string* why);

  /// Null, with the reason, when the port does not open. Any thread.
  std::unique_ptr<MonitorPort> OpenPort(const std::string& port, const std::string& printer, std::string* why);
  void Shutdown();

 private:
  MonitorLibrary(MONITOR2* functions, HANDLE monitor) : functions_(functions), monitor_(monitor) {}

  MONITOR2* functions_;
  HANDLE monitor_;
};

/// What went wrong in a call of the monitor, by its last error; `otherwise` when it gave none.
std::string MonitorFault(DWORD error, const std::string& otherwise);

}  // namespace portwise
