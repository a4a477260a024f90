#include "monitor/port_fault_report.h"

#include <utility>

#include "core/synchronizer.h"
#include "monitor/port_context.h"

namespace portwise {
namespace {

constexpr DWORD kNoJob = 0xFFFFFFFF;

OCriticalSection reportLock;
DWORD lastReportedJob = kNoJob;  // under reportLock

}  // namespace

bool PortFaultReport::Admits() {
  // The port may be what broke: nothing of it may be touched under the lock, which a fault could leave locked.
  const DWORD job = port_.JobId();
  const OScopedLock lock(reportLock);
  return std::exchange(lastReportedJob, job) != job;
}

}  // namespace portwise
