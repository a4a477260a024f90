#include "network/http/http_headers.h"

#include <algorithm>

#include "core/ascii_case.h"
#include "core/decimal.h"

namespace portwise {
namespace {

bool HasName(std::string_view line, std::string_view name) {
  return line.size() > name.size() && line[name.size()] == ':' && EqualsNoCase(line.substr(0, name.size()), name);
}

std::string_view ValueOf(std::string_view line, std::string_view name) {
  return TrimHttp(line.substr(name.size() + 1));
}

/// Takes the next line that is not blank off the front; empty when there is none left.
std::string_view NextLine(std::string_view* lines) {
  std::string_view line;
  while (line.empty() && !lines->empty()) {
    const size_t end = std::min(lines->find('\n'), lines->size());
    line = TrimHttp(lines->substr(0, end));
    lines->remove_prefix(std::min(end + 1, lines->size()));
  }
  return line;
}

std::string MakeLine(std::string_view name, const OString& value) {
  std::string line(name);
  line += ": ";
  line += value.NarrowView();
  std::replace_if(
      line.begin(), line.end(), [](char byte) { return byte == '\r' || byte == '\n'; }, ' ');
  return line;
}

template <class Lines>
auto FindLine(Lines& lines, std::string_view name) {
  return std::find_if(lines.begin(), lines.end(), [name](const std::string& line) { return HasName(line, name); });
}

}  // namespace

std::string_view TrimHttp(std::string_view text) {
  const size_t begin = std::min(text.find_first_not_of(kHttpSpace), text.size());
  return text.substr(begin, text.find_last_not_of(kHttpSpace) + 1 - begin);
}

OString HTTPHeaders::GetHeader(std::string_view name) const {
  const auto line = FindLine(lines_, name);
  return HeadText(line == lines_.end() ? std::string_view() : ValueOf(*line, name));
}

bool HTTPHeaders::HasHeader(std::string_view name) const { return FindLine(lines_, name) != lines_.end(); }

void HTTPHeaders::SetHeader(std::string_view name, const OString& value) {
  const auto line = FindLine(lines_, name);
  if (line == lines_.end()) {
    lines_.push_back(MakeLine(name, value));
  } else {
    *line = MakeLine(name, value);
  }
}

ULONGLONG HTTPHeaders::GetContentLength() const { return ContentLengthOf(GetHeader("Content-Length").NarrowView()); }

void HTTPHeaders::ParseHeaders(std::string_view lines) {
  lines_.clear();
  while (!lines.empty()) {
    const std::string_view line = NextLine(&lines);
    if (!line.empty()) lines_.emplace_back(line);
  }
}

void HTTPHeaders::AppendHeaders(std::string* out) const {
  for (const std::string& line : lines_) out->append(line).append("\r\n");
  out->append("\r\n");
}

std::string_view FindHeader(std::string_view lines, std::string_view name) {
  while (!lines.empty()) {
    const std::string_view line = NextLine(&lines);
    if (HasName(line, name)) return ValueOf(line, name);
  }
  return std::string_view();
}

ULONGLONG ContentLengthOf(std::string_view value) {
  return static_cast<ULONGLONG>(std::max<LONGLONG>(ReadDecimal(value), 0));
}

}  // namespace portwise
