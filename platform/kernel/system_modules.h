#pragma once

#include <windows.h>

#include <string_view>

#include "platform/kernel/modules.h"

namespace portwise::platform {

/// The handle of a system module, by its name in any case of letters; null for other names.
HMODULE FindSystemModule(std::string_view name);

/// The name of the system module with that handle, as it was registered; empty for other handles, of any value.
std::string_view SystemModuleName(HMODULE module);

}  // namespace portwise::platform
