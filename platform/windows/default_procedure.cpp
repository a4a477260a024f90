#include <utility>

#include "platform/kernel/copy_text.h"
#include "platform/windows/window.h"

namespace portwise::platform {
namespace {

LRESULT CopyWindowText(const Window& window, WPARAM size, LPARAM buffer) {
  if (size == 0 || !buffer) return 0;
  auto* text = reinterpret_cast<LPWSTR>(buffer);
  return static_cast<LRESULT>(CopyText(window.text.substr(0, size - 1), text, static_cast<DWORD>(size)));
}

LRESULT SetIcon(Window& window, WPARAM kind, LPARAM icon) {
  HICON& place = kind == ICON_BIG ? window.icon : window.smallIcon;
  return reinterpret_cast<LRESULT>(std::exchange(place, reinterpret_cast<HICON>(icon)));
}

/// What needs nothing but the window. Under the lock.
LRESULT Answer(Window& window, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_SETTEXT:
      window.text = lParam ? reinterpret_cast<LPCWSTR>(lParam) : u"";
      return TRUE;
    case WM_GETTEXT:
      return CopyWindowText(window, wParam, lParam);
    case WM_GETTEXTLENGTH:
      return static_cast<LRESULT>(window.text.size());
    case WM_SETICON:
      return SetIcon(window, wParam, lParam);
    case WM_GETICON:
      return reinterpret_cast<LRESULT>(wParam == ICON_BIG ? window.icon : window.smallIcon);
    case WM_QUERYENDSESSION:
      return 1;
    default:
      return 0;
  }
}

void ObeySystemCommand(HWND window, WPARAM command) {
  switch (command & 0xFFF0) {
    case SC_CLOSE:
      SendMessageW(window, WM_CLOSE, 0, 0);
      break;
    case SC_MINIMIZE:
      ShowWindow(window, SW_MINIMIZE);
      break;
    case SC_RESTORE:
      ShowWindow(window, SW_RESTORE);
      break;
    default:
      break;
  }
}

}  // namespace
}  // namespace portwise::platform

using namespace portwise::platform;

LRESULT WINAPI DefWindowProcW(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_CLOSE:
      DestroyWindow(handle);
      return 0;
    case WM_SYSCOMMAND:
      ObeySystemCommand(handle, wParam);
      return 0;
    case WM_CANCELMODE:
      if (GetCapture() == handle) ReleaseCapture();
      return 0;
    default:
      break;
  }
  std::lock_guard lock(WindowLock());
  const auto window = WindowTree::Get().Find(handle);
  return window ? Answer(*window, message, wParam, lParam) : 0;
}
