#pragma once

#include <cstddef>
#include <string_view>

namespace portwise::platform {

constexpr char32_t kReplacement = 0xFFFD;

/// Decodes the character at `position`, which is below the text's size, and moves past it. What is not text gives
/// U+FFFD and sets `malformed`: one for each longest run of bytes that begins a character and breaks off, as Unicode
/// recommends, and for each other byte; one for each lone surrogate.
inline char32_t NextCharacter(std::string_view text, std::size_t* position, bool* malformed) {
  const auto byteAt = [text](std::size_t index) { return static_cast<unsigned char>(text[index]); };
  const unsigned char first = byteAt((*position)++);
  if (first < 0x80) return first;
  int more = 0;
  char32_t value = 0;
  // The second byte's range excludes overlong forms, surrogates and what lies beyond U+10FFFF.
  unsigned char low = 0x80;
  unsigned char high = 0xBF;
  if (first >= 0xC2 && first <= 0xDF) {
    more = 1;
    value = first & 0x1F;
  } else if (first >= 0xE0 && first <= 0xEF) {
    more = 2;
    value = first & 0x0F;
    if (first == 0xE0) low = 0xA0;
    if (first == 0xED) high = 0x9F;
  } else if (first >= 0xF0 && first <= 0xF4) {
    more = 3;
    value = first & 0x07;
    if (first == 0xF0) low = 0x90;
    if (first == 0xF4) high = 0x8F;
  }
  const bool begins = more > 0;
  for (; more > 0; --more, low = 0x80, high = 0xBF) {
    if (*position == text.size() || byteAt(*position) < low || byteAt(*position) > high) break;
    value = value << 6 | (byteAt((*position)++) & 0x3F);
  }
  if (begins && more == 0) return value;
  *malformed = true;
  return kReplacement;
}

inline char32_t NextCharacter(std::u16string_view text, std::size_t* position, bool* malformed) {
  const char16_t first = text[(*position)++];
  if (first < 0xD800 || first > 0xDFFF) return first;
  if (first < 0xDC00 && *position < text.size() && text[*position] >= 0xDC00 && text[*position] <= 0xDFFF) {
    return 0x10000 + ((first - 0xD800u) << 10) + (text[(*position)++] - 0xDC00u);
  }
  *malformed = true;
  return kReplacement;
}

/// Calls `put` with each UTF-16 unit, or UTF-8 byte, of a character.
template <class Put>
void PutUtf16(char32_t character, Put&& put) {
  if (character < 0x10000) {
    put(static_cast<char16_t>(character));
    return;
  }
  put(static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10)));
  put(static_cast<char16_t>(0xDC00 + (character & 0x3FF)));
}

template <class Put>
void PutUtf8(char32_t character, Put&& put) {
  if (character < 0x80) {
    put(static_cast<char>(character));
    return;
  }
  const int more = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
  put(static_cast<char>((0xFF00 >> (more + 1) & 0xFF) | character >> (6 * more)));
  for (int shift = 6 * (more - 1); shift >= 0; shift -= 6) put(static_cast<char>(0x80 | (character >> shift & 0x3F)));
}

}  // namespace portwise::platform
