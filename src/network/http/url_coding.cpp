#include "network/http/url_coding.h"

#include "core/hex.h"

namespace portwise {
namespace {

/// Whether a byte stands for itself.
constexpr bool IsKept(char byte) {
  return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9') ||
         std::string_view("-_.!~*'()").find(byte) != std::string_view::npos;
}

}  // namespace

std::string EncodeUrl(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size() + bytes.size() / 4);
  for (const char byte : bytes) {
    if (IsKept(byte)) {
      text.push_back(byte);
    } else if (byte == ' ') {
      text.push_back('+');
    } else {
      const auto value = static_cast<unsigned char>(byte);
      text.push_back('%');
      text.push_back(HexDigit(value >> 4u));
      text.push_back(HexDigit(value));
    }
  }
  return text;
}

std::string DecodeUrl(std::string_view text) {
  std::string bytes;
  bytes.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const int high = text[i] == '%' && text.size() - i > 2 ? HexValue(text[i + 1]) : -1;
    const int low = high >= 0 ? HexValue(text[i + 2]) : -1;
    if (low >= 0) {
      bytes.push_back(static_cast<char>(high << 4 | low));
      i += 2;
    } else {
      bytes.push_back(text[i] == '+' ? ' ' : text[i]);
    }
  }
  return bytes;
}

}  // namespace portwise
