#include "logging/event_log_report.h"

#include "settings/registry.h"

namespace portwise {

OString EventLogReport::DebugLibraryPath() {
  return ORegistry().GetString("LOCAL_MACHINE:Software/Corvane/Drivers/Debug/dbghelp", OString());
}

}  // namespace portwise
