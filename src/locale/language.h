#pragma once

#include "core/ostring.h"

namespace portwise {

/// The language that the library itself speaks.
inline constexpr const char* kOwnLanguage = "enu";

/// The code of the language with that abbreviated name ("DEU", "DEA" and "de" give "deu"): three letters in lower case,
/// kOwnLanguage for a language that there is no code for.
OString LanguageCode(const OString& abbreviatedName);

/// The code of the system's language, asked for anew at each call.
OString SystemLanguage();

}  // namespace portwise
