#include "core/hex.h"

#include <array>
#include <cstring>

namespace portwise {

namespace {

using DigitPairs = std::array<char, 512>;

/// The digits of each byte.
constexpr DigitPairs PairsOf(HexLetters letters) {
  DigitPairs pairs{};
  for (unsigned byte = 0; byte < 256; ++byte) {
    pairs[2 * byte] = HexDigit(byte >> 4, letters);
    pairs[2 * byte + 1] = HexDigit(byte, letters);
  }
  return pairs;
}

constexpr DigitPairs kUpperPairs = PairsOf(HexLetters::Upper);
constexpr DigitPairs kLowerPairs = PairsOf(HexLetters::Lower);

char* WritePairs(std::string_view bytes, const DigitPairs& pairs, char* digits) {
  for (const char byte : bytes) {
    std::memcpy(digits, &pairs[2u * static_cast<unsigned char>(byte)], 2);
    digits += 2;
  }
  return digits;
}

}  // namespace

char* WriteHex(std::string_view bytes, char* digits) { return WritePairs(bytes, kUpperPairs, digits); }

char* WriteSpacedHex(std::string_view bytes, char space, char* digits) {
  for (const char byte : bytes) {
    std::memcpy(digits, &kUpperPairs[2u * static_cast<unsigned char>(byte)], 2);
    digits[2] = space;
    digits += 3;
  }
  return digits;
}

std::string EncodeHex(std::string_view bytes, HexLetters letters) {
  std::string digits(2 * bytes.size(), '\0');
  WritePairs(bytes, letters == HexLetters::Upper ? kUpperPairs : kLowerPairs, digits.data());
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
