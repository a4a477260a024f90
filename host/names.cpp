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

bool IsRemoteName(const std::string& name) { return name.starts_with("\\\\"); }

std::string NameOrRemoteFault(const std::string& what, const std::string& name) {
  if (!IsRemoteName(name)) return NameFault(what, name);
  std::size_t separator = name.find('\\', 2);
  if (separator == std::string::npos)
    return "the " + what + " name begins with two backslashes but is not \\\\SERVER\\NAME";
  if (std::string fault = NameFault("server", name.substr(2, separator - 2)); !fault.empty()) return fault;
  if (platform::ToUtf16(name).size() > kMaximumName) return "the " + what + " name is longer than 220 characters";
  return NameFault(what, name.substr(separator + 1));
}

std::string KeyOfName(std::string name) {
  std::replace(name.begin(), name.end(), '\\', ',');
  return name;
}

std::string NameOfKey(std::string key) {
  std::replace(key.begin(), key.end(), ',', '\\');
  return key;
}

std::string TextFault(const std::string& what, const std::string& text) {
  std::u16string units = platform::ToUtf16(text);
  if (units.size() > kMaximumText) return "the " + what + " is longer than 4095 characters";
  if (std::any_of(units.begin(), units.end(), IsControl)) return "the " + what + " holds a control character";
  return {};
}

std::u16string NameKey(const std::string& name) { return platform::FoldCase(platform::ToUtf16(name)); }

}  // namespace portwise
