#pragma once

#include "platform/spooler/json.h"
#include "platform/windows/inspect.h"

namespace portwise::platform {

/// What is seen of a process, as it travels.
nlohmann::json ToJson(const ProcessView& view);
/// Throws a JSON exception for what does not come from ToJson.
ProcessView FromJson(const nlohmann::json& json);

}  // namespace portwise::platform
