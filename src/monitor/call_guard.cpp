#include "monitor/call_guard.h"

#include "core/synchronizer.h"
#include "monitor/port_context.h"

namespace portwise {
namespace {

constexpr DWORD kNoJob = 0xFFFFFFFF;

OCriticalSection reportLock;
DWORD lastReportedJob = kNoJob;  // under reportLock

}  // namespace

void NetMonExceptionHandler::ReportTo(PortContext* port) {
  port_ = port;
  SetReport(port ? port->Faults() : nullptr);
}

void NetMonExceptionHandler::Handle(const OException& exception) {
  if (!port_) {
    OExceptionHandler::Handle(exception);
    return;
  }
  // The port may be what broke: nothing of it may be touched under the lock, which a fault could leave locked.
  const DWORD job = port_->JobId();
  OScopedLock lock(reportLock);
  if (job == lastReportedJob) return;
  OExceptionHandler::Handle(exception);
  lastReportedJob = job;
}

}  // namespace portwise
