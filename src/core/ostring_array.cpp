#include "core/ostring_array.h"

#include <algorithm>

namespace portwise {
namespace {

template <class Char, class Each>
void SplitBuffer(std::basic_string_view<Char> buffer, ListLayout layout, Each each) {
  while (!buffer.empty()) {
    if (layout == ListLayout::NulTerminated) {
      const auto text = buffer.substr(0, buffer.find(Char(0)));
      if (text.empty()) return;
      each(text);
      buffer.remove_prefix(std::min(text.size() + 1, buffer.size()));
    } else {
      const size_t lineFeed = buffer.find(Char('\n'));
      if (lineFeed == buffer.npos) return;
      each(buffer.substr(0, lineFeed > 0 ? lineFeed - 1 : 0));
      buffer.remove_prefix(lineFeed + 1);
    }
  }
}

template <class Char, class Convert>
std::basic_string<Char> JoinBuffer(const std::vector<OString>& strings, ListLayout layout, Convert convert) {
  std::basic_string<Char> result;
  for (const OString& text : strings) {
    const auto converted = convert(text);
    if (layout == ListLayout::NulTerminated) {
      // By what is written, so that a NUL inside a string never ends the list.
      const size_t length = std::min(converted.find(Char(0)), converted.size());
      if (length > 0) result.append(converted, 0, length).push_back(Char(0));
    } else {
      result.append(converted).append({Char('\r'), Char('\n')});
    }
  }
  if (layout == ListLayout::NulTerminated) result.push_back(Char(0));
  return result;
}

}  // namespace

int OStringArray::Find(const OString& text) const {
  const auto found = std::find(strings_.begin(), strings_.end(), text);
  return found == strings_.end() ? -1 : static_cast<int>(found - strings_.begin());
}

void OStringArray::Sort() { std::sort(strings_.begin(), strings_.end()); }

WideString OStringArray::ToWideBuffer(ListLayout layout) const {
  return JoinBuffer<WCHAR>(strings_, layout, [](const OString& text) { return text.View(); });
}

std::string OStringArray::ToNarrowBuffer(ListLayout layout, UINT codePage) const {
  return JoinBuffer<char>(strings_, layout, [codePage](const OString& text) { return text.InCodePage(codePage); });
}

void OStringArray::FromWideBuffer(WideView buffer, ListLayout layout) {
  strings_.clear();
  SplitBuffer(buffer, layout, [this](WideView text) { strings_.emplace_back(text); });
}

void OStringArray::FromNarrowBuffer(std::string_view buffer, ListLayout layout, UINT codePage) {
  strings_.clear();
  SplitBuffer(buffer, layout, [&](std::string_view text) { strings_.emplace_back(text, codePage); });
}

}  // namespace portwise
