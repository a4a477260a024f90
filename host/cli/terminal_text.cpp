#include "host/cli/terminal_text.h"

#include "platform/text.h"

namespace portwise {

namespace {

bool IsControl(char16_t unit) { return unit < 0x20 || (unit >= 0x7f && unit < 0xa0); }

}  // namespace

std::string Harmless(const std::string& text) {
  std::u16string units = platform::ToUtf16(text);
  for (char16_t& unit : units) {
    if (IsControl(unit)) unit = u'?';
  }
  return platform::ToUtf8(units);
}

std::string HarmlessLines(const std::string& text) {
  std::u16string lines;
  for (const char16_t unit : platform::ToUtf16(text)) {
    if (unit == u'\r') continue;
    if (unit == u'\n') {
      lines += u"\n    ";
    } else {
      lines += IsControl(unit) && unit != u'\t' ? u'?' : unit;
    }
  }
  lines.erase(lines.find_last_not_of(u" \n") + 1);
  return platform::ToUtf8(lines);
}

}  // namespace portwise
