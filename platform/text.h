#pragma once

#include <string>
#include <string_view>

/// UTF-8 and UTF-16 for the platform and the programs. Malformed input gives U+FFFD for each unit that is not text.
namespace portwise::platform {

std::u16string ToUtf16(std::string_view utf8);
std::string ToUtf8(std::u16string_view utf16);

/// Simple lower and upper case of one UTF-16 unit, the same on every machine and in every locale.
char16_t LowerUnit(char16_t unit);
char16_t UpperUnit(char16_t unit);
/// The text in lower case: what names are compared by where Windows ignores case.
std::u16string FoldCase(std::u16string_view text);

}  // namespace portwise::platform
