#include <algorithm>
#include <atomic>
#include <string>
#include <vector>

#include "platform/kernel/fail.h"
#include "platform/kernel/modules.h"
#include "platform/text.h"
#include "platform/windows/dialogs.h"
#include "platform/windows/inspect.h"

namespace portwise::platform {
namespace {

std::atomic<bool> isInteractive = false;

struct Button {
  int id;
  const char16_t* text;
};
struct Buttons {
  UINT kind;
  std::vector<Button> buttons;
};

const std::vector<Button>& ButtonsOf(UINT style) {
  constexpr UINT kKindMask = 0xF;
  static const auto& rows = *new std::vector<Buttons>{
      {MB_OK, {{IDOK, u"OK"}}},
      {MB_OKCANCEL, {{IDOK, u"OK"}, {IDCANCEL, u"Cancel"}}},
      {MB_ABORTRETRYIGNORE, {{IDABORT, u"Abort"}, {IDRETRY, u"Retry"}, {IDIGNORE, u"Ignore"}}},
      {MB_YESNOCANCEL, {{IDYES, u"Yes"}, {IDNO, u"No"}, {IDCANCEL, u"Cancel"}}},
      {MB_YESNO, {{IDYES, u"Yes"}, {IDNO, u"No"}}},
      {MB_RETRYCANCEL, {{IDRETRY, u"Retry"}, {IDCANCEL, u"Cancel"}}},
  };
  const auto row =
      std::find_if(rows.begin(), rows.end(), [style](const Buttons& each) { return each.kind == (style & kKindMask); });
  return row == rows.end() ? rows.front().buttons : row->buttons;
}

DialogTemplate BoxOf(const std::u16string& text, const std::u16string& caption, const std::vector<Button>& buttons) {
  constexpr int kWidth = 240, kMargin = 7, kLine = 8, kButtonWidth = 50, kButtonHeight = 14;
  RECT area{0, 0, 2 * (kWidth - 2 * kMargin), 0};
  const int height =
      DrawTextW(nullptr, text.c_str(), static_cast<int>(text.size()), &area, DT_CALCRECT | DT_WORDBREAK) / 16 * kLine;
  DialogTemplate box;
  box.style = WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME | DS_CENTER;
  box.title = caption;
  box.width = kWidth;
  box.height = height + kButtonHeight + 3 * kMargin;
  box.items.push_back(
      {WS_VISIBLE | SS_NOPREFIX, 0, kMargin, kMargin, kWidth - 2 * kMargin, height, -1, u"Static", text});
  int x = kMargin;
  for (const Button& button : buttons) {
    const DWORD kind = &button == &buttons.front() ? BS_DEFPUSHBUTTON : BS_PUSHBUTTON;
    box.items.push_back({WS_VISIBLE | WS_TABSTOP | kind, 0, x, height + 2 * kMargin, kButtonWidth, kButtonHeight,
                         button.id, u"Button", button.text});
    x += kButtonWidth + kMargin;
  }
  return box;
}

/// A box that has only OK is left with it, however it is closed; one without Cancel is not closed otherwise.
INT_PTR CALLBACK BoxProcedure(HWND box, UINT message, WPARAM wParam, LPARAM) {
  if (message == WM_INITDIALOG) return TRUE;
  if (message != WM_COMMAND) return FALSE;
  const int id = LOWORD(wParam);
  if (GetDlgItem(box, id)) {
    EndDialog(box, id);
  } else if (id == IDCANCEL && GetDlgItem(box, IDOK)) {
    EndDialog(box, IDOK);
  }
  return TRUE;
}

HANDLE WINAPI StationOfProcess() { return &isInteractive; }

BOOL WINAPI StationInformation(HANDLE station, int index, void* information, DWORD size, DWORD* needed) {
  constexpr int kFlags = 1;
  struct Flags {
    BOOL inherit, reserved;
    DWORD flags;
  };
  if (station != &isInteractive || index != kFlags) return Fail(ERROR_INVALID_PARAMETER);
  if (needed) *needed = sizeof(Flags);
  if (size < sizeof(Flags)) return Fail(ERROR_INSUFFICIENT_BUFFER);
  *static_cast<Flags*>(information) = {FALSE, FALSE, isInteractive ? 1u : 0u};
  return TRUE;
}

const struct Registration {
  Registration() {
    RegisterSystemModule("User32.dll", {{"MessageBoxA", AsFarProc(MessageBoxA)},
                                        {"MessageBoxW", AsFarProc(MessageBoxW)},
                                        {"GetProcessWindowStation", AsFarProc(StationOfProcess)},
                                        {"GetUserObjectInformationW", AsFarProc(StationInformation)}});
  }
} registration;

}  // namespace

void SetInteractive(bool interactive) { isInteractive = interactive; }

}  // namespace portwise::platform

using namespace portwise::platform;

int WINAPI MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT style) {
  if (!isInteractive) {
    SetLastError(ERROR_ACCESS_DENIED);
    return 0;
  }
  const DialogTemplate box = BoxOf(text ? text : u"", caption ? caption : u"Error", ButtonsOf(style));
  const INT_PTR result = RunDialogOf(nullptr, box, owner, BoxProcedure, 0);
  return result > 0 ? static_cast<int>(result) : 0;
}

int WINAPI MessageBoxA(HWND owner, LPCSTR text, LPCSTR caption, UINT style) {
  const std::u16string wideText = ToUtf16(text ? text : ""), wideCaption = ToUtf16(caption ? caption : "Error");
  return MessageBoxW(owner, wideText.c_str(), wideCaption.c_str(), style);
}
