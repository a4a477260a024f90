#pragma once

#include <windows.h>

namespace portwise {

/// Lets a window be dragged by any point of its client area.
class WindowDrag {
 public:
  /// Takes the mouse's messages. False for one that it leaves to others.
  bool OnMessage(HWND window, UINT message, LPARAM lParam);

 private:
  bool dragging_ = false;
  POINT grip_ = {};  // where the mouse holds the window, in client coordinates
};

/// The place that a mouse message tells, in client coordinates.
POINT MousePoint(LPARAM lParam);

}  // namespace portwise
