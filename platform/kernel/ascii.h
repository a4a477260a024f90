#pragma once

#include <algorithm>
#include <string_view>

namespace portwise::platform {

/// Names of variables and modules: equal or ordered without regard to the case of ASCII letters.
inline char LowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

inline bool EqualAscii(std::string_view left, std::string_view right) {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [](char a, char b) { return LowerAscii(a) == LowerAscii(b); });
}

struct LessAscii {
  using is_transparent = void;
  bool operator()(std::string_view left, std::string_view right) const {
    return std::lexicographical_compare(left.begin(), left.end(), right.begin(), right.end(),
                                        [](char a, char b) { return LowerAscii(a) < LowerAscii(b); });
  }
};

}  // namespace portwise::platform
