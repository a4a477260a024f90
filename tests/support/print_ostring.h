#pragma once

#include <ostream>

#include "core/ostring.h"

namespace portwise {

/// How failed expectations show a text.
inline void PrintTo(const OString& text, std::ostream* out) { *out << '"' << text.InCodePage(kCodePageUtf8) << '"'; }

}  // namespace portwise
