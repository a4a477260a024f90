#include "core/base64.h"

#include <array>
#include <cstring>

namespace portwise {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// The value of each byte, 0 for those outside the alphabet.
constexpr auto kValues = [] {
  std::array<unsigned char, 256> values{};
  for (unsigned char value = 0; value < 64; ++value) values[static_cast<unsigned char>(kAlphabet[value])] = value;
  return values;
}();

/// The characters of each half of a group: 12 bits as two characters.
constexpr auto kPairs = [] {
  std::array<char, 2 * 4096> pairs{};
  for (size_t half = 0; half < 4096; ++half) {
    pairs[2 * half] = kAlphabet[half >> 6];
    pairs[2 * half + 1] = kAlphabet[half & 63];
  }
  return pairs;
}();

unsigned ByteAt(std::string_view text, size_t index) { return static_cast<unsigned char>(text[index]); }

void WriteGroup(unsigned group, char* out) {
  std::memcpy(out, &kPairs[2 * (group >> 12)], 2);
  std::memcpy(out + 2, &kPairs[2 * (group & 4095)], 2);
}

}  // namespace

void WriteBase64(std::string_view bytes, char* text) {
  size_t at = 0;
  for (; bytes.size() - at >= 3; at += 3, text += 4) {
    WriteGroup(ByteAt(bytes, at) << 16 | ByteAt(bytes, at + 1) << 8 | ByteAt(bytes, at + 2), text);
  }
  const size_t left = bytes.size() - at;
  if (left == 0) return;
  WriteGroup(ByteAt(bytes, at) << 16 | (left > 1 ? ByteAt(bytes, at + 1) << 8 : 0), text);
  for (size_t pad = left + 1; pad < 4; ++pad) text[pad] = '=';
}

std::string EncodeBase64(std::string_view bytes) {
  std::string text(Base64Size(bytes.size()), '\0');
  WriteBase64(bytes, text.data());
  return text;
}

size_t ReadBase64(std::string_view text, char* bytes) {
  char* out = bytes;
  const auto valueAt = [text](size_t index) -> unsigned { return kValues[ByteAt(text, index)]; };
  size_t at = 0;
  for (; text.size() - at >= 4 && text[at + 2] != '=' && text[at + 3] != '='; at += 4, out += 3) {
    const unsigned group = valueAt(at) << 18 | valueAt(at + 1) << 12 | valueAt(at + 2) << 6 | valueAt(at + 3);
    out[0] = static_cast<char>(group >> 16);
    out[1] = static_cast<char>(group >> 8);
    out[2] = static_cast<char>(group);
  }
  // The last group, of which what stands before the end or the padding counts.
  if (text.size() - at > 1) {
    *out++ = static_cast<char>(valueAt(at) << 2 | valueAt(at + 1) >> 4);
    if (text.size() - at > 2 && text[at + 2] != '=') {
      *out++ = static_cast<char>(valueAt(at + 1) << 4 | valueAt(at + 2) >> 2);
    }
  }
  return static_cast<size_t>(out - bytes);
}

std::string DecodeBase64(std::string_view text) {
  std::string bytes(Base64Room(text.size()), '\0');
  bytes.resize(ReadBase64(text, bytes.data()));
  return bytes;
}

}  // namespace portwise
