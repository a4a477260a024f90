#include "xpml/tag.h"

#include <algorithm>
#include <climits>

#include "core/decimal.h"

namespace portwise {
namespace {

constexpr size_t kEntityBytes = 6;

struct NamedEntity {
  std::string_view name;
  char byte;
};

constexpr NamedEntity kEntities[] = {{"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"amp", '&'}};

void SkipSpace(std::string_view& text) {
  while (!text.empty() && IsXpmlSpace(text.front())) text.remove_prefix(1);
}

void StripSpace(std::string_view& text) {
  while (!text.empty() && IsXpmlSpace(text.back())) text.remove_suffix(1);
}

}  // namespace

Tag SplitTag(std::string_view text) {
  Tag tag;
  SkipSpace(text);
  tag.opens = true;
  if (!text.empty() && text.front() == '/') {
    tag.opens = false;
    tag.closes = true;
    text.remove_prefix(1);
    SkipSpace(text);
  }
  StripSpace(text);
  if (!text.empty() && text.back() == '/') {
    tag.opens = tag.closes = true;
    text.remove_suffix(1);
    StripSpace(text);
  }
  const size_t space = text.find(' ');
  tag.name = text.substr(0, space);
  if (space != text.npos) {
    tag.attributes = text.substr(space);
    SkipSpace(tag.attributes);
  }
  return tag;
}

bool NextAttribute(std::string_view& text, std::string_view& name, std::string_view& value) {
  SkipSpace(text);
  const size_t equals = text.find('=');
  if (equals == text.npos) return false;
  name = text.substr(0, equals);
  StripSpace(name);
  text.remove_prefix(equals + 1);
  SkipSpace(text);
  if (!text.empty() && (text.front() == '"' || text.front() == '\'')) {
    const size_t quote = text.find(text.front(), 1);
    if (quote == text.npos) return false;
    value = text.substr(1, quote - 1);
    text.remove_prefix(quote + 1);
  } else {
    value = text.substr(0, text.find_first_of(" \r\n\t"));
    text.remove_prefix(value.size());
  }
  return true;
}

char DecodeEntity(std::string_view name) {
  name = name.substr(0, kEntityBytes);
  if (!name.empty() && name.front() == '#') return static_cast<char>(ParseDecimal(name.substr(1)) & 0xFF);
  for (const NamedEntity& entity : kEntities) {
    if (EqualsNoCase(name, entity.name)) return entity.byte;
  }
  return '?';
}

LONG ParseDecimal(std::string_view text) {
  return static_cast<LONG>(std::clamp<LONGLONG>(ReadDecimal(text), INT_MIN, INT_MAX));
}

}  // namespace portwise
