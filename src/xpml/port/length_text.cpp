#include "xpml/port/length_text.h"

#include <algorithm>
#include <cstddef>

#include "xpml/tag.h"

namespace portwise {
namespace {

constexpr LONGLONG kMostUnits = 1000000000;  // far more than any label, and no product below overflows

struct LengthUnit {
  std::string_view name;
  bool prefix;  // longer words that begin with it mean the same
  int digits;   // of the fraction that count
  LONGLONG size;
  LONGLONG parts;  // `size` of 0.0001 mm is this many of the unit
};

constexpr LengthUnit kUnits[] = {
    {"in", true, 3, 254000, 1},      {"mm", false, 3, 10000, 1},       {"cm", false, 4, 100000, 1},
    {"mils", false, 0, 254, 1},      {"pt", false, 3, 254000, 72},     {"pts", false, 3, 254000, 72},
    {"point", false, 3, 254000, 72}, {"points", false, 3, 254000, 72},
};

bool IsNumeric(char c) { return (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.'; }

const LengthUnit* FindUnit(std::string_view text) {
  for (const LengthUnit& unit : kUnits) {
    if (EqualsNoCase(unit.prefix ? text.substr(0, unit.name.size()) : text, unit.name)) return &unit;
  }
  return nullptr;
}

/// The number times ten to the power of `digits`, what lies behind cut off.
LONGLONG ReadScaled(std::string_view number, int digits) {
  const bool negative = number.front() == '-';
  if (negative || number.front() == '+') number.remove_prefix(1);
  LONGLONG value = 0;
  int left = -1;  // digits of the fraction still to come; -1 before the point
  for (const char c : number) {
    if (c == '.' && left < 0) {
      left = digits;
      continue;
    }
    if (c < '0' || c > '9') break;
    if (left == 0) continue;
    if (left > 0) --left;
    value = std::min(value * 10 + (c - '0'), kMostUnits * 10000);
  }
  for (left = left < 0 ? digits : left; left > 0; --left) value *= 10;
  return negative ? -value : value;
}

}  // namespace

LONGLONG ReadLength(std::string_view text) {
  const auto end = static_cast<size_t>(std::find_if_not(text.begin(), text.end(), IsNumeric) - text.begin());
  const LengthUnit* unit = FindUnit(text.substr(end));
  if (end == 0 || !unit) return 0;
  LONGLONG scale = unit->parts;
  for (int i = 0; i < unit->digits; ++i) scale *= 10;
  const LONGLONG number = std::clamp(ReadScaled(text.substr(0, end), unit->digits), -kMostUnits, kMostUnits);
  return number * unit->size / scale;
}

}  // namespace portwise
