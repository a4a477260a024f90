#pragma once

#include "core/exception_handler.h"

namespace portwise {

class PortContext;

/// The guard of the spooler's calls and of the monitor's threads. When it knows the port it does not report a failure
/// in the job that the last report of the process was about: a job whose every call fails is reported once, unless two
/// jobs fail in turn. A failure that is not reported leaves the last error as it was.
class NetMonExceptionHandler : public OExceptionHandler {
 public:
  /// What the guards of the spooler's operations do.
  static constexpr DWORD kOperationFlags = kReportEventLog | kSetLastError;

  NetMonExceptionHandler(const char* scopeName, DWORD flags) : OExceptionHandler(scopeName, flags) {}

  /// From now on the guard reports to the port's event log. The port must outlive the guarded call.
  void ReportTo(PortContext* port);

  void Handle(const OException& exception) override;

 private:
  PortContext* port_ = nullptr;
};

}  // namespace portwise
