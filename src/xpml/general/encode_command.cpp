#include "xpml/general/encode_command.h"

#include <algorithm>
#include <span>
#include <string>

#include "core/base64.h"
#include "core/zlib_block.h"
#include "xpml/document.h"
#include "xpml/general/hex_dump.h"
#include "xpml/general/variables.h"

namespace portwise {
namespace {

/// A list may repeat an encoding. What it asks for beyond this many steps is not done, so that the work stays in
/// proportion to the content.
constexpr int kMostSteps = 256;
/// Every level of nested commands compresses all that is inside it again, and that makes it longer. The levels further
/// inside than this compress nothing, so that the work does not grow with the square of their number.
constexpr size_t kMostLevels = 1000;

/// One encoding of the content, or one decoding, into an empty buffer: false when the content is not of that kind or
/// its new form has no room.
struct Step {
  std::string_view name;
  bool (*apply)(const XPML_Document& document, std::string_view content, TextBuffer& result);
};

bool Decompress(const XPML_Document&, std::string_view content, TextBuffer& result) {
  return DecodeZlibBlock(content, result.Room(), [&](size_t size) { return result.Resize(size); });
}

bool Compress(const XPML_Document& document, std::string_view content, TextBuffer& result) {
  if (document.Depth() > kMostLevels) return false;
  std::string block;
  return EncodeZlibBlock(content, &block) && result.Append(block);
}

bool FromBase64(const XPML_Document&, std::string_view content, TextBuffer& result) {
  const size_t room = Base64Room(content.size());
  char* bytes = result.Resize(room);
  if (bytes) result.Truncate(ReadBase64(content, bytes));
  return bytes || room == 0;
}

bool ToBase64(const XPML_Document&, std::string_view content, TextBuffer& result) {
  char* text = result.Resize(Base64Size(content.size()));
  if (text) WriteBase64(content, text);
  return text || content.empty();
}

std::uint64_t Count(LONG number) { return static_cast<std::uint64_t>(std::max(number, LONG{0})); }

bool ToHex(const XPML_Document& document, std::string_view content, TextBuffer& result) {
  HexDumpFormat format;
  format.lineHeader = document.GetAttribute("line_header");
  format.lineFooter = document.GetAttribute("line_footer");
  format.space = document.GetAttribute("space");
  format.lineLength = Count(document.GetAttributeInt("line_length", 0));
  format.segment = Count(document.GetAttributeInt("hex_segment", 1));
  const std::uint64_t size = HexDumpSize(content.size(), format);
  char* dump = size <= result.Room() ? result.Resize(static_cast<size_t>(size)) : nullptr;
  if (dump) WriteHexDump(content, format, dump);
  return dump || size == 0;
}

constexpr Step kDecodings[] = {{"lz77", Decompress}, {"base64", FromBase64}};
constexpr Step kEncodings[] = {{"lz77", Compress}, {"base64", ToBase64}, {"hex", ToHex}};

/// Applies the steps that a list separated by ";" names, in its order; other names mean nothing.
void Apply(XPML_Document& document, std::string_view list, std::span<const Step> steps) {
  TextBuffer& content = document.CurrentText();
  const Step* failed = nullptr;  // since the content last changed: it would fail again
  int taken = 0;
  while (!list.empty() && taken < kMostSteps) {
    const std::string_view name = list.substr(0, list.find(';'));
    list.remove_prefix(std::min(name.size() + 1, list.size()));
    const auto step =
        std::find_if(steps.begin(), steps.end(), [&](const Step& row) { return EqualsNoCase(name, row.name); });
    if (step == steps.end() || &*step == failed) continue;
    ++taken;
    TextBuffer result(content.MostLength(), TextBuffer::kNoLimit, content.Allowance());
    const bool done = step->apply(document, content.View(), result) && content.Take(result);
    failed = done ? nullptr : &*step;
  }
}

}  // namespace

bool RunEncode(XPML_Document& document, void*) {
  SetVariable("encode_size_in", document.CurrentText().Length());
  Apply(document, document.GetAttribute("in", "binary"), kDecodings);
  Apply(document, document.GetAttribute("out", "binary"), kEncodings);
  if (document.CurrentText().IsAllowanceExceeded()) return false;
  SetVariable("encode_size_out", document.CurrentText().Length());
  return true;
}

}  // namespace portwise
