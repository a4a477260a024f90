#include "ui/window_drag.h"

namespace portwise {

POINT MousePoint(LPARAM lParam) {
  // Left of the window and above it the numbers are negative.
  return {static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam))};
}

bool WindowDrag::OnMessage(HWND window, UINT message, LPARAM lParam) {
  switch (message) {
    case WM_LBUTTONDOWN:
      grip_ = MousePoint(lParam);
      SetCapture(window);
      dragging_ = true;
      return true;
    case WM_MOUSEMOVE: {
      if (!dragging_) return false;
      const POINT mouse = MousePoint(lParam);
      RECT place = {};
      GetWindowRect(window, &place);
      SetWindowPos(window, nullptr, place.left + mouse.x - grip_.x, place.top + mouse.y - grip_.y, 0, 0,
                   SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
      return true;
    }
    case WM_LBUTTONUP:
      if (!dragging_) return false;
      dragging_ = false;
      ReleaseCapture();
      return true;
    case WM_CAPTURECHANGED:
      // Another window has taken the mouse away.
      dragging_ = false;
      return false;
    default:
      return false;
  }
}

}  // namespace portwise
