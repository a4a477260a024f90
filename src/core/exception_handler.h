#pragma once

#include <windows.h>

#include "core/exception.h"

namespace portwise {

/// The guard around one call from outside: what the call lets escape ends here and becomes the call's failure.
class OExceptionHandler {
 public:
  /// What a guard does with an exception.
  static constexpr DWORD kReportEventLog = 1;
  static constexpr DWORD kSetLastError = 8;

  /// `scopeName` names the guarded entry point and must outlive the guard.
  OExceptionHandler(const char* scopeName, DWORD flags) : scopeName_(scopeName), flags_(flags) {}
  OExceptionHandler(const OExceptionHandler&) = delete;
  OExceptionHandler& operator=(const OExceptionHandler&) = delete;
  virtual ~OExceptionHandler() = default;

  /// Reports the failure as the flags say; with kSetLastError its code becomes the thread's last error.
  virtual void Handle(const OException& exception);

  /// Called in a catch clause: hands the exception in flight to Handle in the form of an OException. What is not one
  /// of ours and does not derive from std::exception goes on.
  void HandleCurrent();

  const char* ScopeName() const { return scopeName_; }

 private:
  const char* scopeName_;
  DWORD flags_;
};

/// Runs `body`, which returns a BOOL, and hands what it throws to the guard; the result is then FALSE. Nothing derived
/// from std::exception passes.
template <class Body>
BOOL RunGuarded(OExceptionHandler& guard, Body&& body) {
  try {
    return body();
  } catch (...) {
    guard.HandleCurrent();
  }
  return FALSE;
}

}  // namespace portwise
