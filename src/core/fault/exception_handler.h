#pragma once

#include <windows.h>

#include <string>
#include <type_traits>

#include "core/exception.h"
#include "core/fault/fault_report.h"
#include "core/fault/fault_translator.h"

namespace portwise {

/// The guard around one call from outside: what the call lets escape ends here and becomes the call's failure, and
/// processor faults on its thread become exceptions. Lives on the stack of its thread; guards nest.
class OExceptionHandler {
 public:
  /// What a guard does with an exception.
  static constexpr DWORD kReportEventLog = 1;
  static constexpr DWORD kReportMessageBox = 2;
  static constexpr DWORD kReportStandardError = 4;
  static constexpr DWORD kSetLastError = 8;

  /// `scopeName` names the guarded entry point and must outlive the guard.
  OExceptionHandler(const char* scopeName, DWORD flags);
  OExceptionHandler(const OExceptionHandler&) = delete;
  OExceptionHandler& operator=(const OExceptionHandler&) = delete;
  virtual ~OExceptionHandler();

  /// Where kReportEventLog reports, and who says whether a failure is reported in any way. Null, as at first, reports
  /// nothing there and admits all. Stays the caller's and must outlive the guard.
  void SetReport(FaultReport* report) { report_ = report; }

  /// Who tells the debug library's path to all guards; null, as at first, for nobody. Stays the caller's. Any thread.
  static void SetDefaultReport(FaultReport* report);

  /// Writes a minidump when the exception is a fault, and reports the failure as the flags say; with kSetLastError its
  /// code becomes the thread's last error, which otherwise stays as it is. What fails on the way is left out. An
  /// exception that the report does not admit leaves no trace.
  virtual void Handle(const OException& exception);

  /// Called in a catch clause: hands the exception in flight to Handle in the form of an OException. What is not one
  /// of ours and does not derive from std::exception goes on. When Handle fails itself, kSetLastError still holds.
  void HandleCurrent();

  const char* ScopeName() const { return scopeName_; }
  /// Where the last minidump was written; cut to what a Windows path holds.
  const WCHAR* DumpPath() const { return dumpPath_; }

 private:
  void HandleInFlight(DWORD* code);
  std::string TryDump(const OException& exception);
  void Report(const OException& exception, const std::string& dumpLine);

  const FaultTranslator previousTranslator_;
  const char* const scopeName_;
  const DWORD flags_;
  FaultReport* report_ = nullptr;
  WCHAR dumpPath_[MAX_PATH] = {};
};

/// What RunGuarded is made of; `function` is called with `body`.
BOOL CallGuarded(OExceptionHandler& guard, BOOL (*function)(void* body), void* body);

/// Runs `body`, which returns a BOOL, and hands what it throws to the guard; the result is then FALSE. Nothing derived
/// from std::exception passes.
template <class Body>
BOOL RunGuarded(OExceptionHandler& guard, Body&& body) {
  using Plain = std::remove_reference_t<Body>;
  const auto call = [](void* called) -> BOOL { return (*static_cast<Plain*>(called))(); };
  return CallGuarded(guard, call, const_cast<std::remove_const_t<Plain>*>(&body));
}

}  // namespace portwise
