#pragma once

#include <windows.h>

#include <string>
#include <string_view>

#include "core/ostring.h"

namespace portwise {

/// One line on standard output; lines of several threads do not mix.
void Say(const std::string& line);

/// An error of the system as a line tells it: "error 5".
std::string ErrorText(DWORD error);

/// Bytes as a line tells them: a backslash and what a terminal would not show become "\xNN".
std::string Shown(std::string_view bytes);

inline OString FromUtf8(std::string_view text) { return OString(text, CP_UTF8); }
inline std::string ToUtf8(const OString& text) { return text.InCodePage(CP_UTF8); }
/// For calls that take a text and do not change it.
inline LPWSTR Mutable(const OString& text) { return const_cast<LPWSTR>(text.Wide()); }

}  // namespace portwise
