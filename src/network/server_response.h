#pragma once

#include <optional>
#include <string>

#include "core/exception.h"
#include "xpml/text_buffer.h"

namespace portwise {

/// A response as it goes out: its head, and its body, which may be large and is therefore made in its place.
struct ServerResponse {
  explicit ServerResponse(TextAllowance* allowance) : body(allowance) {}

  std::string head;
  TextBuffer body;
  /// What the response tells of, thrown to the thread's guard once it is on its way; none when nothing failed.
  std::optional<OException> failure;
};

}  // namespace portwise
