#include "locale/language.h"

#include <windows.h>

namespace portwise {
namespace {

/// The first letters of abbreviated names, and the code that they stand for. The first row that fits counts.
struct LanguageRow {
  const char* start;
  const char* code;
};
constexpr LanguageRow kLanguages[] = {
    {"chs", "chs"}, {"cht", "cht"}, {"cs", "csy"}, {"da", "dan"}, {"de", "deu"}, {"el", "ell"},
    {"en", "enu"},  {"es", "esp"},  {"fi", "fin"}, {"fr", "fra"}, {"hu", "hun"}, {"it", "ita"},
    {"jpn", "jpn"}, {"ko", "kor"},  {"nl", "nld"}, {"no", "nor"}, {"pl", "plk"}, {"ptg", "ptg"},
    {"pt", "ptb"},  {"ru", "rus"},  {"sv", "sve"}, {"th", "tha"}, {"tr", "trk"},
};

}  // namespace

OString LanguageCode(const OString& abbreviatedName) {
  for (const LanguageRow& row : kLanguages) {
    if (abbreviatedName.StartsWithNoCase(row.start)) return row.code;
  }
  return kOwnLanguage;
}

OString SystemLanguage() {
  char name[16] = {};
  GetLocaleInfoA(LOCALE_SYSTEM_DEFAULT, LOCALE_SABBREVLANGNAME, name, sizeof name);
  return LanguageCode(name);
}

}  // namespace portwise
