#pragma once

#include "core/ostring.h"

namespace portwise {

/// What the exception guards ask of the layers above them.
class FaultReport {
 public:
  virtual ~FaultReport() = default;

  /// Whether a failure is to be reported at all; asked once for each, before anything is done about it. With false
  /// there is no minidump either.
  virtual bool Admits() { return true; }

  /// Reports a failure in the event log, as an error of category 0. Runs on the thread that failed. False when the
  /// entry could not be made.
  virtual bool ReportError(const OString& /*text*/) { return false; }

  /// The library file to write minidumps with; empty for the system's.
  virtual OString DebugLibraryPath() { return OString(); }
};

}  // namespace portwise
