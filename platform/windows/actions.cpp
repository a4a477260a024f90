#include <algorithm>

#include "platform/windows/controls.h"
#include "platform/windows/desktop.h"
#include "platform/windows/inspect.h"
#include "platform/windows/menus.h"
#include "platform/windows/notification_icons.h"
#include "platform/windows/presence.h"
#include "platform/windows/remote_windows.h"
#include "platform/windows/window.h"

namespace portwise::platform {
namespace {

bool CanBeUsed(const Window& window) {
  for (auto each = WindowTree::Get().Find(window.handle); each; each = WindowTree::Get().Find(each->parent)) {
    if (each->style & WS_DISABLED) return false;
    if (!each->IsChild()) break;
  }
  return WindowTree::Get().IsVisible(window.handle);
}

bool Press(HWND dialog, UINT id) {
  const HWND control = GetDlgItem(dialog, static_cast<int>(id));
  std::unique_lock lock(WindowLock());
  const auto window = WindowTree::Get().Find(control);
  if (!window || !CanBeUsed(*window)) return false;
  lock.unlock();
  return PostMessageW(control, BM_CLICK, 0, 0) != 0;
}

/// The notification area tells of each part of a double click, as the mouse would.
bool ClickIcon(HWND window, std::initializer_list<UINT> messages) {
  NotificationIcon icon{};
  {
    std::lock_guard lock(WindowLock());
    const auto& icons = NotificationIcons();
    const auto found = std::find_if(icons.begin(), icons.end(),
                                    [window](const NotificationIcon& each) { return each.window == window; });
    if (found == icons.end()) return false;
    icon = *found;
  }
  for (const UINT message : messages) {
    if (!PostMessageW(window, icon.callbackMessage, icon.id, static_cast<LPARAM>(message))) return false;
  }
  return true;
}

/// The child that the mouse is over, or the window itself. What is disabled, or shows only, leaves it to its parent.
HWND WindowAt(const Window& window, POINT place) {
  const WindowTree& tree = WindowTree::Get();
  for (const HWND handle : window.children) {
    const auto child = tree.Find(handle);
    if (!(child->style & WS_VISIBLE) || (child->style & WS_DISABLED) || LetsMouseThrough(*child)) continue;
    const RECT rect = tree.ScreenRect(*child);
    if (place.x >= rect.left && place.x < rect.right && place.y >= rect.top && place.y < rect.bottom) return handle;
  }
  return window.handle;
}

bool UseMouse(HWND handle, UINT message, WPARAM keys) {
  const POINT place = CursorPosition();
  std::lock_guard lock(WindowLock());
  WindowTree& tree = WindowTree::Get();
  const auto window = tree.Find(handle);
  if (!window || !CanBeUsed(*window)) return false;
  const HWND captured = window->queue->capture;
  const auto target = tree.Find(captured ? captured : WindowAt(*window, place));
  if (!target) return false;
  const POINT origin = tree.ClientOrigin(*target);
  const LPARAM at = MAKELPARAM(place.x - origin.x, place.y - origin.y);
  return target->queue->Post({target->handle, message, keys, at, GetTickCount(), place});
}

/// Keys find the focus themselves, when their turn comes.
bool Type(HWND handle, std::initializer_list<UINT> messages, WPARAM what) {
  {
    std::lock_guard lock(WindowLock());
    const auto window = WindowTree::Get().Find(handle);
    if (!window || !CanBeUsed(*window)) return false;
  }
  return std::all_of(messages.begin(), messages.end(),
                     [&](UINT message) { return PostMessageW(handle, message, what, 1) != 0; });
}

bool UseTitleBar(HWND handle, WPARAM command, DWORD style) {
  {
    std::lock_guard lock(WindowLock());
    const auto window = WindowTree::Get().Find(handle);
    if (!window || !CanBeUsed(*window) || !(window->style & style)) return false;
  }
  return PostMessageW(handle, WM_SYSCOMMAND, command, 0) != 0;
}

bool EndSession(HWND window, UINT flags) {
  const auto parameter = static_cast<LPARAM>(flags);
  const bool agrees = SendMessageW(window, WM_QUERYENDSESSION, 0, parameter) != 0;
  SendMessageW(window, WM_ENDSESSION, agrees, parameter);
  return agrees;
}

}  // namespace

bool DoAction(Action action, HWND window, UINT argument) {
  switch (action) {
    case Action::Press:
      return Press(window, argument);
    case Action::ChooseItem:
      return ChooseItem(window, argument);
    case Action::ClickIcon:
      return ClickIcon(window, {WM_LBUTTONDOWN, WM_LBUTTONUP});
    case Action::DoubleClickIcon:
      return ClickIcon(window, {WM_LBUTTONDOWN, WM_LBUTTONUP, WM_LBUTTONDBLCLK, WM_LBUTTONUP});
    case Action::RightClickIcon:
      return ClickIcon(window, {WM_RBUTTONDOWN, WM_RBUTTONUP});
    case Action::MouseDown:
      return UseMouse(window, WM_LBUTTONDOWN, MK_LBUTTON);
    case Action::MouseMove:
      return UseMouse(window, WM_MOUSEMOVE, 0);
    case Action::MouseUp:
      return UseMouse(window, WM_LBUTTONUP, 0);
    case Action::RightMouseDown:
      return UseMouse(window, WM_RBUTTONDOWN, MK_RBUTTON);
    case Action::RightMouseUp:
      return UseMouse(window, WM_RBUTTONUP, 0);
    case Action::Key:
      return Type(window, {WM_KEYDOWN, WM_KEYUP}, argument);
    case Action::Character:
      return Type(window, {WM_CHAR}, argument);
    case Action::Close:
      return UseTitleBar(window, SC_CLOSE, WS_SYSMENU);
    case Action::Minimize:
      return UseTitleBar(window, SC_MINIMIZE, WS_MINIMIZEBOX);
    case Action::EndSession:
      return EndSession(window, argument);
  }
  return false;
}

bool Do(Action action, HWND window, UINT argument) {
  if (!IsRemote(window)) return DoAction(action, window, argument);
  return AskPlace(PlaceOf(window), nlohmann::json{{"op", "act"},
                                                  {"window", NumberOf(window)},
                                                  {"message", static_cast<UINT>(action)},
                                                  {"wParam", argument}})
      .has_value();
}

bool DoAt(Action action, HWND window, int x, int y) {
  SetCursorPosition({x, y});
  return Do(action, window);
}

}  // namespace portwise::platform
