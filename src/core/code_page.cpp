#include "core/code_page.h"

#include <climits>

namespace portwise {
namespace {

WideString DecodeUtf8(std::string_view text) {
  WideString result;
  result.reserve(text.size());
  size_t at = 0;
  while (at < text.size()) {
    const unsigned lead = static_cast<unsigned char>(text[at]);
    if (lead == 0) break;
    if (lead < 0x80) {
      result.push_back(static_cast<WCHAR>(lead));
      ++at;
      continue;
    }
    const size_t following = (lead & 0xE0) == 0xC0 ? 1 : (lead & 0xF8) == 0xF0 ? 3 : 2;
    if (text.size() - at <= following || text.substr(at + 1, following).find('\0') != text.npos) break;
    unsigned value = lead & (following == 1 ? 0x1F : following == 2 ? 0x0F : 0x07);
    for (size_t i = 1; i <= following; ++i) value = value << 6 | (static_cast<unsigned char>(text[at + i]) & 0x3F);
    at += following + 1;
    if (value < 0x10000) {
      result.push_back(static_cast<WCHAR>(value));
    } else {
      value -= 0x10000;
      result.push_back(static_cast<WCHAR>(0xD800 | (value >> 10 & 0x3FF)));
      result.push_back(static_cast<WCHAR>(0xDC00 | (value & 0x3FF)));
    }
  }
  return result;
}

std::string EncodeUtf8(WideView text) {
  std::string result;
  result.reserve(text.size());
  for (const WCHAR wide : text) {
    const unsigned unit = static_cast<unsigned>(wide) & 0xFFFF;
    if (unit < 0x80) {
      result.push_back(static_cast<char>(unit));
    } else if (unit < 0x800) {
      result.push_back(static_cast<char>(0xC0 | unit >> 6));
      result.push_back(static_cast<char>(0x80 | (unit & 0x3F)));
    } else {
      result.push_back(static_cast<char>(0xE0 | unit >> 12));
      result.push_back(static_cast<char>(0x80 | (unit >> 6 & 0x3F)));
      result.push_back(static_cast<char>(0x80 | (unit & 0x3F)));
    }
  }
  return result;
}

}  // namespace

WideString ToWide(std::string_view text, UINT codePage) {
  if (codePage == kCodePageUtf8) return DecodeUtf8(text);
  if (codePage == kCodePageOneByte) {
    WideString result(text.size(), WCHAR());
    for (size_t i = 0; i < text.size(); ++i) result[i] = static_cast<WCHAR>(static_cast<unsigned char>(text[i]));
    return result;
  }
  if (text.empty() || text.size() > INT_MAX) return WideString();
  const int bytes = static_cast<int>(text.size());
  const int units = MultiByteToWideChar(codePage, 0, text.data(), bytes, nullptr, 0);
  WideString result(static_cast<size_t>(units > 0 ? units : 0), WCHAR());
  if (units > 0) MultiByteToWideChar(codePage, 0, text.data(), bytes, result.data(), units);
  return result;
}

std::string ToNarrow(WideView text, UINT codePage) {
  if (codePage == kCodePageUtf8) return EncodeUtf8(text);
  if (codePage == kCodePageOneByte) {
    std::string result(text.size(), '\0');
    for (size_t i = 0; i < text.size(); ++i) result[i] = static_cast<char>(text[i] & 0xFF);
    return result;
  }
  if (text.empty() || text.size() > INT_MAX) return std::string();
  const int units = static_cast<int>(text.size());
  const int bytes = WideCharToMultiByte(codePage, 0, text.data(), units, nullptr, 0, nullptr, nullptr);
  std::string result(static_cast<size_t>(bytes > 0 ? bytes : 0), '\0');
  if (bytes > 0) WideCharToMultiByte(codePage, 0, text.data(), units, result.data(), bytes, nullptr, nullptr);
  return result;
}

}  // namespace portwise
