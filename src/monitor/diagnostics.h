#pragma once

#include <windows.h>

#include <atomic>

#include "core/ostring.h"

namespace portwise {

/// What a port leaves on the local disk for development and support: a line for every call of the spooler in
/// "C:\MonitorLog.txt", which all ports share, and a file with the buffer of every read under "C:\Monitor\Read". Both
/// are off unless the registry says otherwise. Nothing is told when a file cannot be written, and the last error stays
/// as it is. Any thread may call.
class MonitorDiagnostics {
 public:
  /// Reads the switches.
  MonitorDiagnostics() { Reload(); }

  /// Reads the switches again, from "GLOBAL:Development"; a missing one is off.
  void Reload();

  /// Appends "NNNN<tab>operation<tab>Entry" with the port's next line number when calls are logged.
  void LogCall(const char* operation);

  /// Writes the buffer, as it is before the read, to the port's next capture file when reads are saved. A null buffer
  /// is only counted.
  void SaveReadBuffer(const void* buffer, DWORD size);

 private:
  std::atomic<bool> logCalls_ = false;
  std::atomic<bool> saveReads_ = false;
  std::atomic<DWORD> lines_ = 0;
  std::atomic<DWORD> captures_ = 0;
};

}  // namespace portwise
