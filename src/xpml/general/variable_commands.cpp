#include "xpml/general/variable_commands.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>

#include "xpml/document.h"
#include "xpml/general/variables.h"

namespace portwise {
namespace {

/// The widths of binary numbers, in bytes.
constexpr struct {
  std::string_view name;
  size_t size;
} kBinaryTypes[] = {{"long", 4}, {"dword", 4}, {"short", 2}, {"word", 2}, {"char", 1}, {"byte", 1}};

/// Longer numbers than this many characters are refused.
constexpr LONG kMostDigits = 63;

void ToBinary(TextBuffer& content, size_t size) {
  const auto number = static_cast<DWORD>(ParseDecimal(content.View()));
  char bytes[sizeof number];
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(number >> (8 * i) & 0xFF);
  content.Replace(std::string_view(bytes, size));
}

void ToDigits(TextBuffer& content, LONG width) {
  if (width <= 0 || width > kMostDigits) return;
  char digits[kMostDigits + 1];
  const int length = std::snprintf(digits, sizeof digits, "%0*ld", static_cast<int>(width),
                                   static_cast<long>(ParseDecimal(content.View())));
  content.Replace(std::string_view(digits, static_cast<size_t>(length)));
}

void Convert(TextBuffer& content, std::string_view type, LONG width) {
  if (EqualsNoCase(type, "int")) ToDigits(content, width);
  for (const auto& binary : kBinaryTypes) {
    if (EqualsNoCase(type, binary.name)) ToBinary(content, binary.size);
  }
}

}  // namespace

bool RunSet(XPML_Document& document, void*) {
  const std::string_view name = document.GetAttribute("name");
  if (name.empty()) return false;
  TextBuffer& content = document.CurrentText();
  SetVariable(name, content.View());
  if (!document.GetAttributeBool("copy", false)) content.Clear();
  return true;
}

bool RunGet(XPML_Document& document, void*) {
  const std::string_view name = document.GetAttribute("name");
  if (name.empty()) return true;
  TextBuffer& content = document.CurrentText();
  AppendVariable(name, content);
  Convert(content, document.GetAttribute("type"), document.GetAttributeInt("length", 0));
  if (document.GetAttributeBool("reverse", false)) std::reverse(content.Data(), content.Data() + content.Length());
  return true;
}

}  // namespace portwise
