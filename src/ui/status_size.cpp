#include "ui/status_size.h"

namespace portwise {
namespace {

LONG TextWidth(HWND control, const OString& text) {
  const HDC device = GetDC(control);
  if (!device) return 0;
  const auto font = reinterpret_cast<HGDIOBJ>(SendMessageW(control, WM_GETFONT, 0, 0));
  const HGDIOBJ previous = font ? SelectObject(device, font) : nullptr;
  SIZE size = {};
  GetTextExtentPoint32W(device, text.Wide(), text.Length(), &size);
  if (previous) SelectObject(device, previous);
  ReleaseDC(control, device);
  return size.cx;
}

void SetHeight(HWND window, LONG width, LONG height) {
  SetWindowPos(window, nullptr, 0, 0, width, height, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

}  // namespace

void StatusSize::Fit(HWND window, HWND control, const OString& text) {
  if (IsIconic(window)) return;
  RECT line = {};
  GetWindowRect(control, &line);
  const bool twoLines = TextWidth(control, text) > line.right - line.left;
  if (twoLines == twoLines_) return;
  if (twoLines) lineHeight_ = line.bottom - line.top;
  RECT place = {};
  GetWindowRect(window, &place);
  SetHeight(control, line.right - line.left, twoLines ? 2 * lineHeight_ : lineHeight_);
  SetHeight(window, place.right - place.left, place.bottom - place.top + (twoLines ? lineHeight_ : -lineHeight_));
  twoLines_ = twoLines;
}

}  // namespace portwise
