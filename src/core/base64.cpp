#include "core/base64.h"

#include <array>

namespace portwise {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// The value of each byte, 0 for those outside the alphabet.
constexpr auto kValues = [] {
  std::array<unsigned char, 256> values{};
  for (unsigned char value = 0; value < 64; ++value) values[static_cast<unsigned char>(kAlphabet[value])] = value;
  return values;
}();

unsigned ByteAt(std::string_view text, size_t index) { return static_cast<unsigned char>(text[index]); }

}  // namespace

std::string EncodeBase64(std::string_view bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (size_t at = 0; at < bytes.size(); at += 3) {
    const size_t count = bytes.size() - at;
    const unsigned group = ByteAt(bytes, at) << 16 | (count > 1 ? ByteAt(bytes, at + 1) << 8 : 0) |
                           (count > 2 ? ByteAt(bytes, at + 2) : 0);
    text.push_back(kAlphabet[group >> 18]);
    text.push_back(kAlphabet[group >> 12 & 63]);
    text.push_back(count > 1 ? kAlphabet[group >> 6 & 63] : '=');
    text.push_back(count > 2 ? kAlphabet[group & 63] : '=');
  }
  return text;
}

std::string DecodeBase64(std::string_view text) {
  std::string bytes;
  bytes.reserve(text.size() / 4 * 3 + (text.size() % 4 > 1 ? text.size() % 4 - 1 : 0));
  const auto valueAt = [text](size_t index) -> unsigned { return kValues[ByteAt(text, index)]; };
  for (size_t at = 0; text.size() - at > 1; at += 4) {
    const size_t count = text.size() - at;
    bytes.push_back(static_cast<char>(valueAt(at) << 2 | valueAt(at + 1) >> 4));
    if (count == 2 || text[at + 2] == '=') break;
    bytes.push_back(static_cast<char>(valueAt(at + 1) << 4 | valueAt(at + 2) >> 2));
    if (count == 3 || text[at + 3] == '=') break;
    bytes.push_back(static_cast<char>(valueAt(at + 2) << 6 | valueAt(at + 3)));
  }
  return bytes;
}

}  // namespace portwise
