#pragma once

#include <algorithm>
#include <string_view>

namespace portwise {

/// The letters A to Z in lower case; every other unit as it is, whatever the locale.
template <class Char>
constexpr Char LowerAscii(Char unit) {
  return unit >= Char('A') && unit <= Char('Z') ? static_cast<Char>(unit + ('a' - 'A')) : unit;
}

/// Whether two texts are equal but for the case of ASCII letters.
inline bool EqualsNoCase(std::string_view left, std::string_view right) {
  return left.size() == right.size() && std::equal(left.begin(), left.end(), right.begin(),
                                                   [](char a, char b) { return LowerAscii(a) == LowerAscii(b); });
}

}  // namespace portwise
