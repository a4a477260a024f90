#include "host/cli/registry_file.h"

#include <algorithm>

#include "platform/text.h"

namespace portwise {
namespace {

constexpr char kFormatLine[] = "Windows Registry Editor Version 5.00";
/// The first line of files from before there was Unicode in them.
constexpr char kOldFormatLine[] = "REGEDIT4";

template <class Char, class Take>
void SplitLines(std::basic_string_view<Char> text, Take take) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(Char('\n')), text.size());
    auto line = text.substr(0, end);
    if (!line.empty() && line.back() == Char('\r')) line.remove_suffix(1);
    take(line);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

WideString DecodeUtf16(std::string_view bytes, bool bigEndian) {
  WideString units(bytes.size() / 2, WCHAR());
  for (std::size_t i = 0; i < units.size(); ++i) {
    const auto first = static_cast<unsigned char>(bytes[2 * i]);
    const auto second = static_cast<unsigned char>(bytes[2 * i + 1]);
    units[i] = static_cast<WCHAR>(bigEndian ? first << 8 | second : second << 8 | first);
  }
  return units;
}

}  // namespace

std::string ToRegistryFile(const OStringArray& lines, FileEncoding encoding) {
  OStringArray all = lines;
  all.Insert(0, kFormatLine);
  all.Insert(1, OString());
  const WideString text = all.ToWideBuffer(ListLayout::Lines);
  if (encoding == FileEncoding::Utf8) return platform::ToUtf8(text);
  std::string bytes = "\xFF\xFE";
  bytes.reserve(bytes.size() + 2 * text.size());
  for (const WCHAR unit : text) {
    bytes.push_back(static_cast<char>(unit & 0xFF));
    bytes.push_back(static_cast<char>(unit >> 8));
  }
  return bytes;
}

OStringArray FromRegistryFile(std::string_view bytes) {
  OStringArray lines;
  const std::string_view mark = bytes.substr(0, 2);
  if (mark == "\xFF\xFE" || mark == "\xFE\xFF") {
    const WideString text = DecodeUtf16(bytes.substr(2), mark[0] == '\xFE');
    SplitLines(WideView(text), [&](WideView line) { lines.Append(line); });
  } else {
    if (bytes.substr(0, 3) == "\xEF\xBB\xBF") bytes.remove_prefix(3);
    SplitLines(bytes, [&](std::string_view line) { lines.Append(OString(line, kCodePageUtf8)); });
  }
  if (!lines.IsEmpty() && (lines[0] == kFormatLine || lines[0] == kOldFormatLine)) lines.RemoveAt(0);
  return lines;
}

}  // namespace portwise
