#pragma once

#include <string>

#include "fuzz/check.h"
#include "network/http/http_message_parser.h"

namespace portwise::fuzz {

/// A message that arrives byte by byte comes to the same end as in one piece, and stays there.
inline void CheckPieces(const std::string& message, const HTTPMessageLimits& limits, bool whole) {
  HTTPMessageParser atOnce(limits), inPieces(limits);
  const HTTPMessageState state = atOnce.Look(message);
  PORTWISE_CHECK((state == HTTPMessageState::Complete) == whole);
  HTTPMessageState last = HTTPMessageState::Incomplete;
  for (size_t length = 0; length <= message.size(); ++length) {
    const HTTPMessageState now = inPieces.Look(std::string_view(message).substr(0, length));
    PORTWISE_CHECK(last == HTTPMessageState::Incomplete || now == last);
    last = now;
  }
  PORTWISE_CHECK(last == state);
  if (!whole) return;
  PORTWISE_CHECK(inPieces.FirstLine() == atOnce.FirstLine() && inPieces.HeaderLines() == atOnce.HeaderLines() &&
                 inPieces.Body() == atOnce.Body());
}

}  // namespace portwise::fuzz
