#pragma once

#include <windows.h>

#include <string_view>

#include "core/ascii_case.h"

namespace portwise {

/// White space of the language: the bytes 1 to 32.
inline bool IsXpmlSpace(char byte) {
  const auto value = static_cast<unsigned char>(byte);
  return value >= 1 && value <= 32;
}

/// The text between `<` and `>`, taken apart. Views of that text.
struct Tag {
  bool opens = false;
  bool closes = false;
  std::string_view name;  ///< empty: the tag means nothing
  std::string_view attributes;
};

/// The name runs to the first space byte; a tab or a line end belongs to it.
Tag SplitTag(std::string_view text);

/// Takes the next attribute off the front of `text`. False when there is none left, or its closing quote is missing.
bool NextAttribute(std::string_view& text, std::string_view& name, std::string_view& value);

/// The byte for the text between `&` and `;`, of which six bytes count; `?` for an unknown name.
char DecodeEntity(std::string_view name);

/// A signed decimal number after white space and a sign; 0 without digits, clamped to 32 bits.
LONG ParseDecimal(std::string_view text);

}  // namespace portwise
