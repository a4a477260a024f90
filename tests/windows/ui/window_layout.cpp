#include "tests/windows/ui/window_layout.h"

#include <vector>

#include "tests/windows/ui/texts.h"

namespace portwise::test {
namespace {

struct Control {
  std::wstring name;
  std::wstring text;
  RECT place;
  LONG style;
  bool isButton;
  bool isGroup;
};

Control Describe(HWND dialog, HWND window) {
  wchar_t kind[32] = {};
  GetClassNameW(window, kind, static_cast<int>(std::size(kind)));
  Control control = {};
  control.style = GetWindowLongW(window, GWL_STYLE);
  control.text = WindowText(window);
  control.isButton = lstrcmpiW(kind, L"Button") == 0;
  control.isGroup = control.isButton && (control.style & BS_TYPEMASK) == BS_GROUPBOX;
  control.name = std::to_wstring(GetDlgCtrlID(window)) + L" \"" + control.text + L"\"";
  GetWindowRect(window, &control.place);
  MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&control.place), 2);
  return control;
}

/// The font of all our dialogs: that of another process cannot be selected here.
HFONT DialogFont(HDC device) {
  return CreateFontW(-MulDiv(8, GetDeviceCaps(device, LOGPIXELSY), 72), 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE,
                     DEFAULT_CHARSET, OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY, DEFAULT_PITCH,
                     L"MS Shell Dlg");
}

/// Whether the text has room, and is not only shortened.
bool Fits(HDC device, const Control& control) {
  constexpr LONG kButtonEdges = 12;
  const LONG type = control.style & SS_TYPEMASK;
  if (control.text.empty() || (!control.isButton && (control.style & SS_ELLIPSISMASK) != 0)) return true;
  const LONG width = control.place.right - control.place.left - (control.isButton ? kButtonEdges : 0);
  const bool wraps = !control.isButton && type != SS_LEFTNOWORDWRAP;
  RECT needed = {0, 0, width, 0};
  DrawTextW(device, control.text.c_str(), -1, &needed,
            DT_CALCRECT | DT_NOPREFIX | (wraps ? UINT{DT_WORDBREAK} : UINT{DT_SINGLELINE}));
  return needed.right <= width && (control.isGroup || needed.bottom <= control.place.bottom - control.place.top);
}

}  // namespace

std::wstring LayoutFaults(HWND dialog) {
  std::vector<Control> controls;
  for (HWND child = GetWindow(dialog, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
    if (IsWindowVisible(child)) controls.push_back(Describe(dialog, child));
  }
  if (controls.empty()) return L"no controls";
  RECT client = {};
  GetClientRect(dialog, &client);
  const HDC device = GetDC(nullptr);
  const HFONT font = DialogFont(device);
  const HGDIOBJ previous = SelectObject(device, font);
  std::wstring faults;
  for (size_t index = 0; index < controls.size(); ++index) {
    const Control& control = controls[index];
    RECT common = {};
    UnionRect(&common, &client, &control.place);
    if (!EqualRect(&common, &client)) faults += control.name + L" lies outside; ";
    if (!Fits(device, control)) faults += control.name + L" is cut off; ";
    for (size_t other = index + 1; other < controls.size(); ++other) {
      if (!control.isGroup && !controls[other].isGroup &&
          IntersectRect(&common, &control.place, &controls[other].place))
        faults += control.name + L" lies over " + controls[other].name + L"; ";
    }
  }
  SelectObject(device, previous);
  DeleteObject(font);
  ReleaseDC(nullptr, device);
  return faults;
}

}  // namespace portwise::test
