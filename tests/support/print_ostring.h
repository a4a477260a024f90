#pragma once

#include <ostream>

#include "core/ostring.h"

namespace portwise {

/// How failed expectations show a text.
inline void PrintTo(const OString& text, std::ostream* out) { *out << '"' << text.InCodePage(kCodePageUtf8) << '"'; }

/// The bytes that programs of this system write a text with.
inline std::string Ansi(std::string_view utf8) { return OString(utf8, CP_UTF8).InCodePage(CP_ACP); }

}  // namespace portwise
