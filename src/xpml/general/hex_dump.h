#pragma once

#include <cstdint>
#include <string_view>

namespace portwise {

/// How bytes are laid out as hexadecimal digits.
struct HexDumpFormat {
  std::string_view lineHeader;
  std::string_view lineFooter;
  std::string_view space;
  std::uint64_t lineLength = 0;  ///< bytes on a line; 0 puts all on one
  std::uint64_t segment = 1;     ///< bytes from one space to the next; 0 for no spaces
};

/// Two upper-case digits a byte. A line begins with its header and ends with its footer; the last one, which may be
/// empty and then has no header, ends with a footer too. Each whole segment is followed by a space, but for one that
/// ends a full line.
void WriteHexDump(std::string_view bytes, const HexDumpFormat& format, char* dump);
/// What is written for that many bytes. Sizes below 4 GiB do not overflow it.
std::uint64_t HexDumpSize(std::uint64_t bytes, const HexDumpFormat& format);

}  // namespace portwise
