#pragma once

#include <string>

#include "core/exception.h"

namespace portwise {

/// The texts in which an exception is told, and two of the places that they go to. Lines end with CR LF, texts are in
/// the ANSI code page.
class ExceptionReport {
 public:
  /// `exception` must outlive the report. `scopeName` is where it was caught, `dumpLine` what to say of a minidump, or
  /// empty.
  ExceptionReport(const OException& exception, const char* scopeName, const std::string& dumpLine);

  std::string EventText() const;

  /// Both do nothing where there is no standard error stream, or nothing that shows message boxes.
  void WriteToStandardError() const;
  void ShowMessageBox() const;

 private:
  const OException& exception_;
  std::string module_;  // the program's file name
  std::string message_;
  std::string location_;  // with its line end; empty when the exception has none
  std::string caught_;    // with its line end
  std::string dump_;      // with its line end; empty when there was no dump
};

}  // namespace portwise
