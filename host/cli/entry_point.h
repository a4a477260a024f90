#pragma once

#include <windows.h>

#include <string>

namespace portwise {

/// A function of a library that other programs start through rundll32.
class EntryPoint {
 public:
  /// "LIBRARY,EXPORT". The export with "W" behind its name is taken before the one of that name; one whose name ends
  /// with "W" takes a wide command line, others one in the ANSI code page. CommandError when there is none.
  explicit EntryPoint(const std::string& target);

  /// Calls it without a window, and returns when it does.
  void Call(const std::string& commandLine, int show) const;

 private:
  HMODULE library_ = nullptr;  // stays loaded: threads of it may outlive the call
  FARPROC function_ = nullptr;
  bool wide_ = false;
};

}  // namespace portwise
