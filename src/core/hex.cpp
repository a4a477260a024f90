#include "core/hex.h"

namespace portwise {

std::string EncodeHex(std::string_view bytes, HexLetters letters) {
  std::string digits;
  digits.reserve(2 * bytes.size());
  for (const char byte : bytes) {
    const unsigned value = static_cast<unsigned char>(byte);
    digits.push_back(HexDigit(value >> 4, letters));
    digits.push_back(HexDigit(value, letters));
  }
  return digits;
}

bool DecodeHex(std::string_view digits, std::string* bytes) {
  if (digits.size() % 2 != 0) return false;
  std::string decoded;
  decoded.reserve(digits.size() / 2);
  for (size_t i = 0; i < digits.size(); i += 2) {
    const int high = HexValue(digits[i]);
    const int low = HexValue(digits[i + 1]);
    if (high < 0 || low < 0) return false;
    decoded.push_back(static_cast<char>(high << 4 | low));
  }
  *bytes = std::move(decoded);
  return true;
}

}  // namespace portwise
