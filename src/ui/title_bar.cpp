#include "ui/title_bar.h"

namespace portwise {
namespace {

/// The frame that stays without a title bar.
constexpr LONG kFrame = 2;

RECT MeasureInsets(HWND window) {
  RECT outer = {};
  RECT client = {};
  GetWindowRect(window, &outer);
  GetClientRect(window, &client);
  MapWindowPoints(window, nullptr, reinterpret_cast<POINT*>(&client), 2);
  return {client.left - outer.left - kFrame, client.top - outer.top - kFrame, outer.right - client.right - kFrame,
          outer.bottom - client.bottom - kFrame};
}

}  // namespace

void TitleBar::SetHidden(HWND window, bool hidden) {
  if (hidden == hidden_ || IsIconic(window)) return;
  if (hidden) insets_ = MeasureInsets(window);
  const LONG direction = hidden ? 1 : -1;
  RECT place = {};
  GetWindowRect(window, &place);
  place.left += direction * insets_.left;
  place.top += direction * insets_.top;
  place.right -= direction * insets_.right;
  place.bottom -= direction * insets_.bottom;
  // The style that carries the title bar.
  const LONG_PTR style = GetWindowLongPtrW(window, GWL_STYLE);
  SetWindowLongPtrW(window, GWL_STYLE, hidden ? style & ~LONG_PTR{WS_DLGFRAME} : style | WS_DLGFRAME);
  SetWindowPos(window, nullptr, place.left, place.top, place.right - place.left, place.bottom - place.top,
               SWP_NOZORDER | SWP_NOACTIVATE | SWP_FRAMECHANGED);
  hidden_ = hidden;
}

}  // namespace portwise
