#pragma once

#include <windows.h>

#include <concepts>
#include <string>
#include <string_view>

namespace portwise {

/// Hexadecimal digits: bytes as pairs with the high half first, numbers with the most significant digit first.
enum class HexLetters { Upper, Lower };

/// The digit of a value from 0 to 15.
constexpr char HexDigit(unsigned value, HexLetters letters = HexLetters::Upper) {
  return letters == HexLetters::Upper ? "0123456789ABCDEF"[value & 15] : "0123456789abcdef"[value & 15];
}

/// The value of a digit of either case, or -1.
template <class Char>
constexpr int HexValue(Char digit) {
  if (digit >= Char('0') && digit <= Char('9')) return static_cast<int>(digit - Char('0'));
  if (digit >= Char('A') && digit <= Char('F')) return static_cast<int>(digit - Char('A')) + 10;
  if (digit >= Char('a') && digit <= Char('f')) return static_cast<int>(digit - Char('a')) + 10;
  return -1;
}

/// Writes two upper-case digits a byte; returns the place behind them. `digits` has room for them.
char* WriteHex(std::string_view bytes, char* digits);
/// The same with a space behind each pair.
char* WriteSpacedHex(std::string_view bytes, char space, char* digits);

std::string EncodeHex(std::string_view bytes, HexLetters letters = HexLetters::Upper);
/// False, with `bytes` as they were, when the digits are not pairs or one is none.
bool DecodeHex(std::string_view digits, std::string* bytes);

/// All digits of a number's type: 4 for 16 bits, 8 for 32.
template <std::unsigned_integral Number>
std::string EncodeHexNumber(Number number, HexLetters letters = HexLetters::Upper) {
  std::string digits(2 * sizeof number, '0');
  for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit) {
    *digit = HexDigit(static_cast<unsigned>(number & 15), letters);
    number = static_cast<Number>(number >> 4);
  }
  return digits;
}

/// A number of 1 to 8 digits and nothing else; otherwise false, with `number` as it was.
template <class Char>
bool DecodeHexNumber(std::basic_string_view<Char> digits, DWORD* number) {
  if (digits.empty() || digits.size() > 2 * sizeof *number) return false;
  DWORD value = 0;
  for (const Char digit : digits) {
    const int next = HexValue(digit);
    if (next < 0) return false;
    value = value << 4 | static_cast<DWORD>(next);
  }
  *number = value;
  return true;
}

}  // namespace portwise
