#pragma once

#include "logging/event_log_report.h"

namespace portwise {

class PortContext;

/// Where all guards of a port report: the port's event log. Does not admit a failure in the job that the last report of
/// the process was about: a job whose every call fails is reported once, unless two jobs fail in turn.
class PortFaultReport final : public EventLogReport {
 public:
  /// Both must outlive this.
  PortFaultReport(const PortContext& port, OEventLog* log) : EventLogReport(log), port_(port) {}

  bool Admits() override;

 private:
  const PortContext& port_;
};

}  // namespace portwise
