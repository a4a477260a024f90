#pragma once

#include <string>
#include <string_view>

namespace portwise {

/// Bytes as a form and the query of a URI carry them: letters, digits and "-_.!~*'()" as they are, a blank as "+", any
/// other byte as "%" and two upper-case digits.
std::string EncodeUrl(std::string_view bytes);

/// The bytes that `text` stands for. Digits of either case; a "%" without two digits behind it stands for itself.
std::string DecodeUrl(std::string_view text);

}  // namespace portwise
