#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace portwise {

/// The 8-bit forms of text. Any other number is a Windows code page.
inline constexpr UINT kCodePageAnsi = 0;     ///< the system's ANSI code page
inline constexpr UINT kCodePageUtf8 = 1208;  ///< UTF-8 by the codec below, the same on every system
inline constexpr UINT kCodePageOneByte =
    64999;  ///< each byte is the unit of the same value; units lose their high byte

using WideString = std::basic_string<WCHAR>;
using WideView = std::basic_string_view<WCHAR>;

/// Text in `codePage` as UTF-16. In code page 1208 the text ends at its first NUL; a byte with the bits 110 leads a
/// sequence of two, 11110 one of four (a surrogate pair), any other byte above 0x7F one of three; the lead bits of
/// the following bytes are not checked, and a sequence that the end cuts short gives nothing. Empty when the system
/// does not know the code page, or when the text is longer than 2 GiB. Any thread.
WideString ToWide(std::string_view text, UINT codePage);

/// UTF-16 text as bytes of `codePage`. In code page 1208 every unit is encoded by itself, surrogates too.
std::string ToNarrow(WideView text, UINT codePage);

}  // namespace portwise
