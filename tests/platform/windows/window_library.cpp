// A library with an entry point that shows a window, for the tests of what processes do with each other's: the property
// of the desktop that its command line names is the window.

#include "tests/platform/windows/window_library.h"

#include <windows.h>

#include "tests/platform/windows/dialog_bytes.h"

using portwise::platform::DialogBytes;

namespace {

INT_PTR CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  LRESULT answer = 0;
  switch (message) {
    case kAskBack:
      // The asker counts down, so that both are in each other's procedures several levels deep.
      answer = wParam == 0 ? 0
                           : 1 + SendMessageW(reinterpret_cast<HWND>(lParam), kAskBack, wParam - 1,
                                              reinterpret_cast<LPARAM>(window));
      break;
    case kSleep:
      Sleep(static_cast<DWORD>(wParam));
      break;
    case WM_CLOSE:
      DestroyWindow(window);
      return TRUE;
    case WM_DESTROY:
      PostQuitMessage(0);
      return TRUE;
    default:
      return FALSE;
  }
  SetWindowLongPtrW(window, DWLP_MSGRESULT, answer);
  return TRUE;
}

}  // namespace

extern "C" void CALLBACK OpenW(HWND, HINSTANCE module, LPWSTR commandLine, int show) {
  DialogBytes dialog(WS_POPUP | WS_CAPTION | WS_SYSMENU, 100, 50, u"Other");
  dialog.Add(portwise::platform::kStatic, 0, 20, u"Label:").Add(portwise::platform::kStatic, 0, 21, u"value", 50);
  const HWND window = CreateDialogIndirectParamW(module, dialog.Get(), GetDesktopWindow(), Procedure, 0);
  ShowWindow(window, show);
  SetPropW(GetDesktopWindow(), commandLine, window);
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0)) DispatchMessageW(&message);
}
