#pragma once

#include <string>

#include "platform/spooler/json.h"

namespace portwise::platform {

/// One order to the spooler, or its answer. `head` is an object: an order names its operation in "op"; an answer has
/// the error code in "error" (0 when the order was carried out) and, for people, what went wrong in "reason". Data
/// and long lists travel in `body`.
struct Message {
  nlohmann::json head;
  std::string body;
};

}  // namespace portwise::platform
