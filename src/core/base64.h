#pragma once

#include <string>
#include <string_view>

namespace portwise {

/// Base64 with the standard alphabet and padding, without line breaks (RFC 4648, section 4).
std::string EncodeBase64(std::string_view bytes);

/// Decodes up to the end of the text or up to an "=" in the third or fourth place of a group of four. Never fails: any
/// other character outside the alphabet counts as the value 0, and a last group of one character gives no byte.
std::string DecodeBase64(std::string_view text);

}  // namespace portwise
