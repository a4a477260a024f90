#pragma once

#include <windows.h>

#include <string_view>

namespace portwise {

/// A length as text, a number directly followed by its unit ("in...", "mm", "cm", "mils", "pt", "pts", "point" or
/// "points", in either case), in units of 0.0001 mm. Fractions count to three digits, of centimetres to four, of mils
/// to none. 0 without a number or a unit that is known.
LONGLONG ReadLength(std::string_view text);

}  // namespace portwise
