#include "host/names.h"

#include <algorithm>

#include "platform/text.h"

namespace portwise {

namespace {

constexpr std::size_t kMaximumName = 220;
/// Texts of printers are read by programs with buffers of 8192 bytes.
constexpr std::size_t kMaximumText = 4095;

bool IsControl(char16_t unit) { return unit < 0x20 || (unit >= 0x7f && unit < 0xa0); }

}  // namespace

std::string NameFault(const std::string& what, const std::string& name) {
  std::u16string units = platform::ToUtf16(name);
  if (units.empty()) return "the " + what + " name is empty";
  if (units.size() > kMaximumName) return "the " + what + " name is longer than 220 characters";
  bool bad = std::any_of(units.begin(), units.end(),
                         [](char16_t unit) { return unit == u'\\' || unit == u',' || IsControl(unit); });
  if (bad) return "the " + what + " name holds a backslash, a comma or a control character";
  return {};
}

std::string TextFault(const std::string& what, const std::string& text) {
  std::u16string units = platform::ToUtf16(text);
  if (units.size() > kMaximumText) return "the " + what + " is longer than 4095 characters";
  if (std::any_of(units.begin(), units.end(), IsControl)) return "the " + what + " holds a control character";
  return {};
}

std::u16string NameKey(const std::string& name) { return platform::FoldCase(platform::ToUtf16(name)); }

}  // namespace portwise
