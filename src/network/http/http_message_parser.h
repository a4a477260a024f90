#pragma once

#include <windows.h>

#include <string_view>

namespace portwise {

/// How much of a message is taken from a peer: its first line with its header lines, and all of it.
struct HTTPMessageLimits {
  size_t head;
  ULONGLONG total;
};

/// Requests come from anyone.
inline constexpr HTTPMessageLimits kRequestLimits = {size_t{64} << 10, ULONGLONG{64} << 20};
/// The commands of one request leave at most 256 MiB.
inline constexpr HTTPMessageLimits kResponseLimits = {size_t{64} << 10, ULONGLONG{257} << 20};

enum class HTTPMessageState {
  Incomplete,  ///< more has to arrive
  Complete,    ///< the head, and as many bytes behind it as it announces
  TooLarge,    ///< it passes a limit, or announces that it will
};

/// Looks at a message while it arrives, and finds out where its parts are and whether all of it is there.
///
/// Lines end with CR LF or with LF alone, and a blank line ends the head. Each byte of the head is looked at once,
/// however many pieces it comes in, and those of the body never. One message each; one thread at a time.
class HTTPMessageParser {
 public:
  explicit HTTPMessageParser(const HTTPMessageLimits& limits) : limits_(limits) {}

  /// `arrived` is all that has arrived so far: what the call before was given, perhaps at another place, and what has
  /// come since.
  HTTPMessageState Look(std::string_view arrived);

  /// Parts of what the last call was given, once it is complete. What arrived beyond the announced length belongs to
  /// the body.
  std::string_view FirstLine() const { return arrived_.substr(0, firstLineEnd_); }
  std::string_view HeaderLines() const { return arrived_.substr(linesBegin_, linesEnd_ - linesBegin_); }
  std::string_view Body() const { return arrived_.substr(bodyBegin_); }

  /// How long the message will be; 0 while its head has no end.
  ULONGLONG Length() const { return end_; }

 private:
  bool FindHead();

  HTTPMessageLimits limits_;
  std::string_view arrived_;
  HTTPMessageState state_ = HTTPMessageState::Incomplete;
  size_t looked_ = 0;  // no end of the head begins before
  size_t firstLineEnd_ = 0;
  size_t linesBegin_ = 0;  // 0 while the first line has no end
  size_t linesEnd_ = 0;
  size_t bodyBegin_ = 0;  // 0 while the head has no end
  ULONGLONG end_ = 0;     // where the announced body ends
};

}  // namespace portwise
