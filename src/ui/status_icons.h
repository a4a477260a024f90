#pragma once

#include <windows.h>

#include "core/unique_resource.h"
#include "query/status_codes.h"

namespace portwise {

class ULocale;

struct IconTraits {
  using Value = HICON;
  static Value None() { return nullptr; }
  static bool IsNone(Value value) { return value == nullptr; }
  static void Release(Value value) { DestroyIcon(value); }
};
using unique_icon = UniqueResource<IconTraits>;

/// The icon of a severity, in the sizes of the title bar and the notification area, and of the task switcher. Lives no
/// longer than the sources of the locale.
class StatusIcon {
 public:
  /// `severity` as printers tell it; any number but those of an error and a warning is normal.
  StatusIcon(ULocale& locale, int severity);

  HICON Small() const { return small_ ? small_.Get() : large_; }
  HICON Large() const { return large_; }

 private:
  HICON large_;
  unique_icon small_;  // drawn for its size, where the system can find that drawing
};

}  // namespace portwise
