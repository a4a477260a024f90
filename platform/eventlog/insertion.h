#pragma once

#include <span>
#include <string>
#include <string_view>

namespace portwise::platform {

/// Puts strings in the place of %1 to %99 in a message text, a format after them ("%1!s!") being passed over, and
/// carries out its other marks: %n, %r, %t, %b, %0 (the text ends here) and %% and the like. A number without a string
/// stays as it is. At most about a million units come out.
std::u16string InsertStrings(std::u16string_view message, std::span<const std::u16string> strings);

}  // namespace portwise::platform
