#pragma once

#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

#include "core/ostring.h"

namespace portwise {

/// What counts as white space around names and values of HTTP.
inline constexpr std::string_view kHttpSpace = " \t\r\n\v\f";

/// The text without white space at both ends.
std::string_view TrimHttp(std::string_view text);

/// What stands in the head of a message, as text of one unit a byte, so that no byte is lost.
inline OString HeadText(std::string_view bytes) { return OString(bytes, kCodePageOneByte); }

/// The header lines of a message, in their order. The case of ASCII letters in names does not matter.
class HTTPHeaders {
 public:
  /// The value of the first line of that name; empty without one.
  OString GetHeader(std::string_view name) const;
  bool HasHeader(std::string_view name) const;
  /// Replaces the first line of that name, or adds one. The value's 8-bit form is what is sent; line breaks in it
  /// become blanks, since they would begin another line.
  void SetHeader(std::string_view name, const OString& value);
  /// The length that the message announces; 0 when there is none, or no number from 0 on. Not to be believed unseen.
  ULONGLONG GetContentLength() const;

  const std::vector<std::string>& HeaderLines() const { return lines_; }
  /// Appends each line with its end, and the blank line behind them.
  void AppendHeaders(std::string* out) const;

 protected:
  /// Replaces the lines by those of a message's head.
  void ParseHeaders(std::string_view lines);

 private:
  std::vector<std::string> lines_;
};

/// The value of the first line of that name in the lines of a head; empty without one.
std::string_view FindHeader(std::string_view lines, std::string_view name);

/// The number that the value of a "Content-Length" line stands for.
ULONGLONG ContentLengthOf(std::string_view value);

}  // namespace portwise
