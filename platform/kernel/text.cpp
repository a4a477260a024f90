#include "platform/text.h"

#include <wctype.h>
#include <windows.h>

#include <algorithm>
#include <clocale>

#include "platform/kernel/fail.h"
#include "platform/kernel/text_target.h"
#include "platform/kernel/utf.h"

namespace portwise::platform {
namespace {

// The C library's tables of Unicode, under a locale that every machine has. Null (only ASCII has case then) where it is
// missing all the same.
locale_t UnicodeLocale() {
  static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  return locale;
}

char16_t MapUnit(char16_t unit, char first, char last, wint_t (*map)(wint_t, locale_t)) {
  if (unit < 0x80) return unit >= first && unit <= last ? unit ^ 0x20 : unit;
  if (!UnicodeLocale() || (unit >= 0xD800 && unit <= 0xDFFF)) return unit;
  const wint_t mapped = map(unit, UnicodeLocale());
  return mapped < 0x10000 ? static_cast<char16_t>(mapped) : unit;
}

}  // namespace

std::u16string ToUtf16(std::string_view utf8) {
  std::u16string text;
  text.reserve(utf8.size());
  bool malformed = false;
  for (std::size_t i = 0; i < utf8.size();) {
    PutUtf16(NextCharacter(utf8, &i, &malformed), [&text](char16_t unit) { text += unit; });
  }
  return text;
}

std::string ToUtf8(std::u16string_view utf16) {
  std::string text;
  text.reserve(utf16.size());
  bool malformed = false;
  for (std::size_t i = 0; i < utf16.size();) {
    PutUtf8(NextCharacter(utf16, &i, &malformed), [&text](char byte) { text += byte; });
  }
  return text;
}

char16_t LowerUnit(char16_t unit) { return MapUnit(unit, 'A', 'Z', towlower_l); }
char16_t UpperUnit(char16_t unit) { return MapUnit(unit, 'a', 'z', towupper_l); }

std::u16string FoldCase(std::u16string_view text) {
  std::u16string folded(text);
  std::transform(folded.begin(), folded.end(), folded.begin(), LowerUnit);
  return folded;
}

}  // namespace portwise::platform

using namespace portwise::platform;

int WINAPI LCMapStringW(LCID, DWORD flags, LPCWSTR source, int sourceUnits, LPWSTR target, int targetUnits) {
  if (flags != LCMAP_LOWERCASE && flags != LCMAP_UPPERCASE) return Fail(ERROR_INVALID_FLAGS);
  std::u16string_view text;
  if (!SourceText(source, sourceUnits, &text) || !IsTarget(target, targetUnits)) return Fail(ERROR_INVALID_PARAMETER);
  TextTarget<WCHAR> out(target, targetUnits);
  for (const char16_t unit : text) out.Put(flags == LCMAP_LOWERCASE ? LowerUnit(unit) : UpperUnit(unit));
  return out.Result();
}
