#include "settings/registry_text.h"

#include "core/hex.h"
#include "settings/logical_path.h"

namespace portwise {
namespace {

/// The characters of a line before which no further byte is written.
constexpr size_t kLineLength = 76;

/// The index of the quote that ends the name and has "=" after it; npos when there is none.
size_t FindNameEnd(WideView text) {
  for (size_t i = 1; i + 1 < text.size(); ++i) {
    if (text[i] == '\\') {
      ++i;
    } else if (text[i] == '"' && text[i + 1] == '=') {
      return i;
    }
  }
  // A name that ends with a backslash that nobody doubled.
  return text.find(TEXT("\"="), 1);
}

}  // namespace

OString EscapeText(const OString& text) {
  OString escaped = text;
  escaped.Replace("\\", "\\\\");
  escaped.Replace("\"", "\\\"");
  return escaped;
}

OString UnescapeText(WideView escaped) {
  WideString text;
  text.reserve(escaped.size());
  for (size_t i = 0; i < escaped.size(); ++i) {
    const bool pair = escaped[i] == '\\' && i + 1 < escaped.size() && (escaped[i + 1] == '\\' || escaped[i + 1] == '"');
    if (pair) ++i;
    text.push_back(escaped[i]);
  }
  return text;
}

OString ValuePath(const OString& name) {
  OString path = EscapeName(name);
  path.Replace("\\", "%5C");
  return path;
}

void AppendByteList(std::string_view bytes, WideString* line, OStringArray* lines) {
  for (size_t i = 0; i < bytes.size(); ++i) {
    if (line->size() > kLineLength) {
      line->push_back('\\');
      lines->Append(*line);
      line->assign(2, WCHAR(' '));
    }
    const unsigned byte = static_cast<unsigned char>(bytes[i]);
    line->push_back(static_cast<WCHAR>(HexDigit(byte >> 4, HexLetters::Lower)));
    line->push_back(static_cast<WCHAR>(HexDigit(byte, HexLetters::Lower)));
    if (i + 1 < bytes.size()) line->push_back(',');
  }
}

bool ParseByteList(WideView list, std::string* bytes) {
  bytes->clear();
  if (list.empty()) return true;
  bytes->reserve(list.size() / 3 + 1);
  for (size_t i = 0; i + 1 < list.size(); i += 3) {
    const int high = HexValue(list[i]);
    const int low = HexValue(list[i + 1]);
    if (high < 0 || low < 0) return false;
    bytes->push_back(static_cast<char>(high << 4 | low));
    if (i + 2 == list.size()) return true;
    if (list[i + 2] != ',') return false;
  }
  return false;
}

bool SplitValueLine(WideView text, OString* name, WideView* data) {
  if (text.empty() || text.front() != '"') return false;
  const size_t end = FindNameEnd(text);
  if (end == WideView::npos) return false;
  *name = UnescapeText(text.substr(1, end - 1));
  *data = text.substr(end + 2);
  return true;
}

}  // namespace portwise
