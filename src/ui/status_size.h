#pragma once

#include <windows.h>

#include "core/ostring.h"

namespace portwise {

/// The size of the control that shows the status: a second line for a text that is too long for one, and the window as
/// much higher.
class StatusSize {
 public:
  /// Makes room for a text, or takes it back. Does nothing while the window is minimized.
  void Fit(HWND window, HWND control, const OString& text);

 private:
  bool twoLines_ = false;
  LONG lineHeight_ = 0;  // of the control with one line
};

}  // namespace portwise
