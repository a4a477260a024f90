#pragma once

#include <string>
#include <string_view>

#include "core/ostring_array.h"

namespace portwise {

/// Registry text as the files that registry editors exchange: a line that names the format, an empty line, the text;
/// CR LF after each line.
enum class FileEncoding {
  Utf16,  ///< little-endian, with a byte order mark
  Utf8,   ///< a unit that is no text becomes U+FFFD
};
std::string ToRegistryFile(const OStringArray& lines, FileEncoding encoding);

/// The text's lines, without the one that names the format. UTF-16 of either byte order is told by its mark, everything
/// else is UTF-8. Lines may end with LF alone, the last one with nothing.
OStringArray FromRegistryFile(std::string_view bytes);

}  // namespace portwise
