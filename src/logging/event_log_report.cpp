#include "logging/event_log_report.h"

#include "settings/registry.h"
#include "settings/settings_catalogue.h"

namespace portwise {

OString EventLogReport::DebugLibraryPath() { return ORegistry().GetString(FindSetting(SettingId::DebugLibrary).path); }

}  // namespace portwise
