#pragma once

#include <string>

#include "platform/spooler/json.h"

namespace portwise {

/// A printer's condition in words, from its description by the spooler: "ready" for a monitor that sees none, "unknown"
/// when no monitor has said anything since the spooler began.
std::string PrinterCondition(const nlohmann::json& printer);

}  // namespace portwise
