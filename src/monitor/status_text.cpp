#include "monitor/status_text.h"

#include "locale/language.h"

namespace portwise {

OString StatusText::Of(const PrinterStatus& status, DWORD options) { return In(OString(), status, options); }

OString StatusText::In(const OString& language, const PrinterStatus& status, DWORD options) {
  {
    const OScopedLock lock(lock_);
    FollowSystem();
    if (language.IsEmpty() || language.EqualsNoCase(language_)) return status.Text(locale_, options);
  }
  pmLocale other(language);
  return status.Text(other, options);
}

void StatusText::FollowSystem() {
  const OString language = SystemLanguage();
  if (language == language_) return;
  language_ = language;
  locale_.Load(language);
}

}  // namespace portwise
