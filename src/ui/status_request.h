#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/ostring.h"

namespace portwise {

/// What the status window asks in each tick, in one request, with the status text in the language of a three-letter
/// code.
std::string StatusRequest(const OString& language);
/// The status text alone.
std::string StatusTextRequest(const OString& language);

/// What a printer says of itself.
struct StatusReply {
  OString text;
  int severity;
  OString port;
};

/// Nothing for a reply to StatusRequest that has more or fewer fields.
std::optional<StatusReply> ReadStatusReply(std::string_view reply);

}  // namespace portwise
