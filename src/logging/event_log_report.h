#pragma once

#include "core/fault/fault_report.h"
#include "logging/event_log.h"

namespace portwise {

/// Failures of guarded calls as entries of an event log.
class EventLogReport : public FaultReport {
 public:
  /// `log` stays the caller's and must outlive this; with null nothing is reported.
  explicit EventLogReport(OEventLog* log) : log_(log) {}

  bool ReportError(const OString& text) override { return log_ && log_->Error(text, 0); }
  /// From the registry.
  OString DebugLibraryPath() override;

 private:
  OEventLog* const log_;
};

}  // namespace portwise
