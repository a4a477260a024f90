#pragma once

#include <exception>
#include <string>

#include "xpml/text_buffer.h"

namespace portwise {

/// A response as it goes out: its head, and its body, which may be large and is therefore made in its place.
struct ServerResponse {
  explicit ServerResponse(TextAllowance* allowance) : body(allowance) {}

  std::string head;
  TextBuffer body;
  /// What the response tells of, thrown to the thread's guard once it is on its way; null when nothing failed.
  std::exception_ptr failure;
};

}  // namespace portwise
