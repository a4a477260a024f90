#include "network/http/http_message_parser.h"

#include <algorithm>

#include "network/http/http_headers.h"

namespace portwise {

HTTPMessageState HTTPMessageParser::Look(std::string_view arrived) {
  arrived_ = arrived;
  if (state_ != HTTPMessageState::Incomplete) return state_;
  if (bodyBegin_ == 0) {
    const bool found = FindHead();
    if ((found ? bodyBegin_ : arrived.size()) > limits_.head) return state_ = HTTPMessageState::TooLarge;
    if (!found) return state_;
    // The number is bounded so that the sum cannot overflow.
    end_ = bodyBegin_ + ContentLengthOf(FindHeader(HeaderLines(), "Content-Length"));
    if (end_ > limits_.total) return state_ = HTTPMessageState::TooLarge;
  }
  if (arrived.size() >= end_) state_ = HTTPMessageState::Complete;
  return state_;
}

/// The head ends at the first LF that another one follows, with or without a CR between them.
bool HTTPMessageParser::FindHead() {
  while (true) {
    const size_t lineFeed = arrived_.find('\n', looked_);
    looked_ = std::min(lineFeed, arrived_.size());
    if (lineFeed == std::string_view::npos) return false;
    if (linesBegin_ == 0) {
      firstLineEnd_ = lineFeed > 0 && arrived_[lineFeed - 1] == '\r' ? lineFeed - 1 : lineFeed;
      linesBegin_ = lineFeed + 1;
    }
    size_t next = lineFeed + 1;
    if (next < arrived_.size() && arrived_[next] == '\r') ++next;
    if (next == arrived_.size()) return false;  // this LF may still turn out to be the one
    if (arrived_[next] == '\n') {
      linesEnd_ = std::max(lineFeed, linesBegin_);
      bodyBegin_ = next + 1;
      return true;
    }
    looked_ = lineFeed + 1;
  }
}

}  // namespace portwise
