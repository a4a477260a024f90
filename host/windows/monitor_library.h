#pragma once

#include <windows.h>
#include <winspool.h>

#include <winsplp.h>

#include <string>

#include "core/ostring.h"

namespace portwise {

/// A port that the print monitor holds open. The calls of a job are one thread's; Ask may come from any.
class MonitorPort {
 public:
  MonitorPort(const MONITOR2& functions, HANDLE handle) : functions_(functions), handle_(handle) {}
  ~MonitorPort() { functions_.pfnClosePort(handle_); }
  MonitorPort(const MonitorPort&) = delete;
  MonitorPort& operator=(const MonitorPort&) = delete;

  /// All return false with the last error, which is 0 when the monitor gave none.
  bool StartDoc(const OString& printer, DWORD job, const OString& document);
  bool Write(BYTE* data, DWORD size, DWORD* written);
  bool EndDoc();
  bool Read(std::string* data);
  /// A value of the printer's data, as the spooler asks for it on behalf of a driver or a client.
  bool Ask(const OString& value, std::string* data);

 private:
  const MONITOR2& functions_;
  const HANDLE handle_;
};

/// The print monitor, which stays loaded to the end of the process, as it does in the spooler.
class MonitorLibrary {
 public:
  /// Throws Failure.
  explicit MonitorLibrary(const std::string& file);

  const MONITOR2& Functions() const { return *functions_; }
  /// The handle of an open port; null with the last error.
  HANDLE OpenPort(const OString& port, const OString& printer);
  void Shutdown();

 private:
  HANDLE monitor_ = nullptr;
  MONITOR2* functions_ = nullptr;
};

}  // namespace portwise
