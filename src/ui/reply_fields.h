#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/ostring.h"

namespace portwise {

/// The reply up to its first NUL, cut at each ";"; never without a field. Texts are in the ANSI code page.
std::vector<OString> ReplyFields(std::string_view reply);

/// Whether a request that asked for a NUL at its end was answered to that end.
inline bool IsWholeReply(std::string_view reply) { return !reply.empty() && reply.back() == '\0'; }

/// The decimal number that a field begins with, within what the type holds; 0 without digits.
LONG ReplyNumber(const OString& field);
ULONGLONG ReplyCount(const OString& field);

}  // namespace portwise
