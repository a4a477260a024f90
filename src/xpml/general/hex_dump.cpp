#include "xpml/general/hex_dump.h"

#include <algorithm>

#include "core/hex.h"

namespace portwise {
namespace {

/// How many spaces a line of that many bytes has. Behind the last byte of a full line there is none.
std::uint64_t SpacesIn(std::uint64_t length, const HexDumpFormat& format) {
  if (length == 0 || format.segment == 0 || format.space.empty()) return 0;
  return (length == format.lineLength ? length - 1 : length) / format.segment;
}

char* Write(std::string_view text, char* out) { return std::copy(text.begin(), text.end(), out); }

char* WriteLine(std::string_view bytes, const HexDumpFormat& format, char* out) {
  out = Write(format.lineHeader, out);
  std::uint64_t spaces = SpacesIn(bytes.size(), format);
  if (spaces > 0 && format.segment == 1 && format.space.size() == 1) {
    out = WriteSpacedHex(bytes.substr(0, static_cast<size_t>(spaces)), format.space.front(), out);
    bytes.remove_prefix(static_cast<size_t>(spaces));
    spaces = 0;
  }
  for (; spaces > 0; --spaces) {
    out = Write(format.space, WriteHex(bytes.substr(0, static_cast<size_t>(format.segment)), out));
    bytes.remove_prefix(static_cast<size_t>(format.segment));
  }
  return WriteHex(bytes, out);
}

}  // namespace

void WriteHexDump(std::string_view bytes, const HexDumpFormat& format, char* dump) {
  while (!bytes.empty()) {
    const std::uint64_t whole = format.lineLength > 0 ? format.lineLength : bytes.size();
    const std::string_view line = bytes.substr(0, static_cast<size_t>(std::min<std::uint64_t>(whole, bytes.size())));
    dump = WriteLine(line, format, dump);
    bytes.remove_prefix(line.size());
    if (line.size() == format.lineLength) dump = Write(format.lineFooter, dump);
  }
  Write(format.lineFooter, dump);
}

std::uint64_t HexDumpSize(std::uint64_t bytes, const HexDumpFormat& format) {
  const std::uint64_t full = format.lineLength > 0 ? bytes / format.lineLength : 0;
  const std::uint64_t rest = bytes - full * format.lineLength;
  const std::uint64_t headers = full + (rest > 0 ? 1 : 0);
  const std::uint64_t spaces = full * SpacesIn(format.lineLength, format) + SpacesIn(rest, format);
  return 2 * bytes + headers * format.lineHeader.size() + (full + 1) * format.lineFooter.size() +
         spaces * format.space.size();
}

}  // namespace portwise
