#pragma once

#include "core/synchronizer.h"
#include "locale/pm_locale.h"
#include "query/printer_status.h"

namespace portwise {

/// The texts of a port's status in the port's language, which is the system's at the time of each call; its resources
/// are loaded anew only when it changes. Any thread; each call may load a language module.
class StatusText {
 public:
  /// `options` are those of PrinterStatus::Text.
  OString Of(const PrinterStatus& status, DWORD options);
  /// In the language of a three-letter code; empty is the port's. English for a language without a module.
  OString In(const OString& language, const PrinterStatus& status, DWORD options);

 private:
  /// Under the lock.
  void FollowSystem();

  OCriticalSection lock_;
  OString language_;  // of locale_; empty before the first text
  pmLocale locale_;
};

}  // namespace portwise
