#include "platform/eventlog/insertion.h"

namespace portwise::platform {
namespace {

/// A damaged message file must not blow a text up without end.
constexpr std::size_t kMaxText = 1 << 20;

struct MarkRow {
  char16_t mark;
  std::u16string_view text;
};
/// Any other character after % stands for itself.
constexpr MarkRow kMarks[] = {{u'n', u"\r\n"}, {u'r', u"\r"}, {u't', u"\t"}, {u'b', u" "}};

bool IsDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }

/// The length of a format, "!...!", at the start of the text.
std::size_t FormatLength(std::u16string_view text) {
  if (!text.starts_with(u'!')) return 0;
  const std::size_t end = text.find(u'!', 1);
  return end == text.npos ? 0 : end + 1;
}

}  // namespace

std::u16string InsertStrings(std::u16string_view message, std::span<const std::u16string> strings) {
  std::u16string text;
  while (!message.empty() && text.size() < kMaxText) {
    const std::size_t plain = message.find(u'%');
    text += message.substr(0, plain);
    if (plain == message.npos || plain + 1 == message.size()) break;
    message.remove_prefix(plain + 1);
    const char16_t mark = message.front();
    if (mark == u'0') break;
    if (!IsDigit(mark)) {
      std::u16string_view meant = message.substr(0, 1);
      for (const MarkRow& row : kMarks) {
        if (row.mark == mark) meant = row.text;
      }
      text += meant;
      message.remove_prefix(1);
      continue;
    }
    const std::size_t digits = message.size() > 1 && IsDigit(message[1]) ? 2 : 1;
    std::size_t number = 0;
    for (const char16_t digit : message.substr(0, digits)) number = number * 10 + (digit - u'0');
    const std::size_t length = digits + FormatLength(message.substr(digits));
    if (number <= strings.size()) {
      text += strings[number - 1];
    } else {
      (text += u'%') += message.substr(0, length);
    }
    message.remove_prefix(length);
  }
  return text;
}

}  // namespace portwise::platform
