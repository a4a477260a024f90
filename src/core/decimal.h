#pragma once

#include <windows.h>

#include <algorithm>
#include <climits>
#include <string_view>

namespace portwise {

/// A signed decimal number after white space (the units 1 to 32) and a sign, up to the first unit that is no digit; 0
/// without digits. Clamped far outside 32 bits, so that callers can clamp to what they need.
template <class Char>
LONGLONG ReadDecimal(std::basic_string_view<Char> text) {
  while (!text.empty() && text.front() >= Char(1) && text.front() <= Char(32)) text.remove_prefix(1);
  const bool negative = !text.empty() && text.front() == Char('-');
  if (negative || (!text.empty() && text.front() == Char('+'))) text.remove_prefix(1);
  LONGLONG value = 0;
  for (const Char digit : text) {
    if (digit < Char('0') || digit > Char('9')) break;
    value = std::min<LONGLONG>(value * 10 + static_cast<LONGLONG>(digit - Char('0')), LLONG_MAX / 100);
  }
  return negative ? -value : value;
}

}  // namespace portwise
