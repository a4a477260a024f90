#pragma once

#include "core/fault/exception_handler.h"

namespace portwise {

class PortContext;

/// The guard of the spooler's calls and of the monitor's threads. Without a port it reports every failure, to the
/// network service's event log.
class NetMonExceptionHandler : public OExceptionHandler {
 public:
  /// What the guards of the spooler's operations do.
  static constexpr DWORD kOperationFlags = kReportEventLog | kSetLastError;

  NetMonExceptionHandler(const char* scopeName, DWORD flags) : OExceptionHandler(scopeName, flags) {
    ReportTo(nullptr);
  }

  /// From now on the guard reports what the port admits, to the port's event log. The port must outlive the guarded
  /// call.
  void ReportTo(PortContext* port);
};

}  // namespace portwise
