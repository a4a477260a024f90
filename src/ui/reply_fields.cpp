#include "ui/reply_fields.h"

#include <algorithm>
#include <limits>

#include "core/decimal.h"

namespace portwise {

std::vector<OString> ReplyFields(std::string_view reply) {
  reply = reply.substr(0, reply.find('\0'));
  std::vector<OString> fields;
  for (;;) {
    const size_t end = reply.find(';');
    fields.emplace_back(reply.substr(0, end));
    if (end == std::string_view::npos) return fields;
    reply.remove_prefix(end + 1);
  }
}

LONG ReplyNumber(const OString& field) {
  using Limits = std::numeric_limits<LONG>;
  return static_cast<LONG>(std::clamp<LONGLONG>(ReadDecimal(field.View()), Limits::min(), Limits::max()));
}

ULONGLONG ReplyCount(const OString& field) {
  return static_cast<ULONGLONG>(std::max<LONGLONG>(ReadDecimal(field.View()), 0));
}

}  // namespace portwise
