#pragma once

#include <string>
#include <string_view>

namespace portwise {

/// Base64 with the standard alphabet and padding, without line breaks (RFC 4648, section 4).
constexpr size_t Base64Size(size_t bytes) { return (bytes + 2) / 3 * 4; }
/// Writes Base64Size characters.
void WriteBase64(std::string_view bytes, char* text);
std::string EncodeBase64(std::string_view bytes);

/// Decodes up to the end of the text or up to an "=" in the third or fourth place of a group of four. Never fails: any
/// other character outside the alphabet counts as the value 0, and a last group of one character gives no byte.
std::string DecodeBase64(std::string_view text);
/// What that many characters give at most.
constexpr size_t Base64Room(size_t characters) {
  return characters / 4 * 3 + (characters % 4 > 1 ? characters % 4 - 1 : 0);
}
/// Decodes into a buffer of Base64Room bytes; returns how many there are.
size_t ReadBase64(std::string_view text, char* bytes);

}  // namespace portwise
