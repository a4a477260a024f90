#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <mutex>
#include <optional>
#include <string>

#include "platform/kernel/ascii.h"
#include "platform/kernel/fail.h"
#include "platform/test_system.h"
#include "platform/text.h"

namespace portwise::platform {
namespace {

struct Locale {
  const char* name;  // language and country, as the environment has them
  LCID id;
  const char* language;  // its abbreviated name
  const char16_t* decimal;
  const char16_t* thousand;
};

// Of the locales of one language the first stands for the language in other countries, the very first for the rest.
constexpr Locale kLocales[] = {
    {"en_US", 0x0409, "ENU", u".", u","},      {"en_GB", 0x0809, "ENG", u".", u","},
    {"cs_CZ", 0x0405, "CSY", u",", u"\u00A0"}, {"da_DK", 0x0406, "DAN", u",", u"."},
    {"de_DE", 0x0407, "DEU", u",", u"."},      {"de_AT", 0x0C07, "DEA", u",", u"\u00A0"},
    {"de_CH", 0x0807, "DES", u".", u"\u2019"}, {"el_GR", 0x0408, "ELL", u",", u"."},
    {"es_ES", 0x0C0A, "ESN", u",", u"."},      {"es_MX", 0x080A, "ESM", u".", u","},
    {"fi_FI", 0x040B, "FIN", u",", u"\u00A0"}, {"fr_FR", 0x040C, "FRA", u",", u"\u00A0"},
    {"fr_CA", 0x0C0C, "FRC", u",", u"\u00A0"}, {"hu_HU", 0x040E, "HUN", u",", u"\u00A0"},
    {"it_IT", 0x0410, "ITA", u",", u"."},      {"ja_JP", 0x0411, "JPN", u".", u","},
    {"ko_KR", 0x0412, "KOR", u".", u","},      {"nl_NL", 0x0413, "NLD", u",", u"."},
    {"nb_NO", 0x0414, "NOR", u",", u"\u00A0"}, {"no_NO", 0x0414, "NOR", u",", u"\u00A0"},
    {"nn_NO", 0x0814, "NON", u",", u"\u00A0"}, {"pl_PL", 0x0415, "PLK", u",", u"\u00A0"},
    {"pt_BR", 0x0416, "PTB", u",", u"."},      {"pt_PT", 0x0816, "PTG", u",", u"\u00A0"},
    {"ru_RU", 0x0419, "RUS", u",", u"\u00A0"}, {"sv_SE", 0x041D, "SVE", u",", u"\u00A0"},
    {"th_TH", 0x041E, "THA", u".", u","},      {"tr_TR", 0x041F, "TRK", u",", u"."},
    {"zh_CN", 0x0804, "CHS", u".", u","},      {"zh_SG", 0x1004, "ZHI", u".", u","},
    {"zh_TW", 0x0404, "CHT", u".", u","},      {"zh_HK", 0x0C04, "ZHH", u".", u","},
};

struct Override {
  std::mutex mutex;
  std::optional<std::string> name;
};
Override& TheOverride() {
  static auto& given = *new Override;
  return given;
}

std::string SystemLocaleName() {
  {
    std::lock_guard lock(TheOverride().mutex);
    if (TheOverride().name) return *TheOverride().name;
  }
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = std::getenv(variable);
    if (value && *value) return value;
  }
  return {};
}

const Locale& SystemLocale() {
  std::string name = SystemLocaleName();
  name.resize(std::min(name.size(), name.find_first_of(".@")));
  std::replace(name.begin(), name.end(), '-', '_');
  const std::string language = name.substr(0, name.find('_'));
  const auto find = [](const auto& fits) { return std::find_if(std::begin(kLocales), std::end(kLocales), fits); };
  auto found = find([&](const Locale& row) { return EqualAscii(row.name, name); });
  if (found == std::end(kLocales)) {
    found = find([&](const Locale& row) {
      const std::string_view known(row.name);
      return EqualAscii(known.substr(0, known.find('_')), language);
    });
  }
  return found == std::end(kLocales) ? kLocales[0] : *found;
}

/// False with the last error set.
bool FindLocale(LCID id, Locale* locale) {
  if (id == 0 || id == LOCALE_USER_DEFAULT || id == LOCALE_SYSTEM_DEFAULT) {
    *locale = SystemLocale();
    return true;
  }
  const auto* found =
      std::find_if(std::begin(kLocales), std::end(kLocales), [id](const auto& row) { return row.id == id; });
  if (found == std::end(kLocales)) return Fail(ERROR_INVALID_PARAMETER);
  *locale = *found;
  return true;
}

/// A value of a locale; false with the last error set.
bool FindValue(LCID id, LCTYPE type, std::u16string* value) {
  Locale locale{};
  if (!FindLocale(id, &locale)) return false;
  switch (type) {
    case LOCALE_SABBREVLANGNAME:
      *value = ToUtf16(locale.language);
      return true;
    case LOCALE_IMEASURE:
      // 1 for the units of the United States, 0 for metric ones.
      *value = locale.id == kLocales[0].id ? u"1" : u"0";
      return true;
    case LOCALE_ILZERO:
      *value = u"1";
      return true;
    case LOCALE_SDECIMAL:
      *value = locale.decimal;
      return true;
    case LOCALE_STHOUSAND:
      *value = locale.thousand;
      return true;
    default:
      return Fail(ERROR_INVALID_FLAGS);
  }
}

template <class Unit>
int GiveValue(const std::basic_string<Unit>& value, Unit* buffer, int size) {
  const int needed = static_cast<int>(value.size()) + 1;
  if (size == 0) return needed;
  if (!buffer || size < needed) return Fail(ERROR_INSUFFICIENT_BUFFER);
  value.copy(buffer, value.size());
  buffer[value.size()] = 0;
  return needed;
}

}  // namespace

void SetSystemLocale(const char* name) {
  std::lock_guard lock(TheOverride().mutex);
  TheOverride().name = name ? std::optional<std::string>(name) : std::nullopt;
}

}  // namespace portwise::platform

using namespace portwise::platform;

int WINAPI GetLocaleInfoA(LCID locale, LCTYPE type, LPSTR buffer, int size) {
  std::u16string value;
  return FindValue(locale, type, &value) ? GiveValue(ToUtf8(value), buffer, size) : 0;
}

int WINAPI GetLocaleInfoW(LCID locale, LCTYPE type, LPWSTR buffer, int size) {
  std::u16string value;
  return FindValue(locale, type, &value) ? GiveValue(value, buffer, size) : 0;
}
