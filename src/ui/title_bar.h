#pragma once

#include <windows.h>

namespace portwise {

/// The title bar of a window, which can be taken away and given back. The client area stays where it is on the screen,
/// to the pixel by which borders differ.
class TitleBar {
 public:
  bool IsHidden() const { return hidden_; }
  /// Does nothing while the window is minimized, which has no sizes of its own then.
  void SetHidden(HWND window, bool hidden);

 private:
  bool hidden_ = false;
  RECT insets_ = {};  // of the client area without the title bar, in the window with it
};

}  // namespace portwise
