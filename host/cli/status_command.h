#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace portwise {

/// A printer's condition in words, from its description by the spooler: "ready" for a monitor that sees none, "unknown"
/// when no monitor has said anything since the spooler began.
std::string PrinterCondition(const nlohmann::json& printer);

}  // namespace portwise
