#include <unistd.h>

#include <algorithm>
#include <vector>

#include "platform/kernel/copy_text.h"
#include "platform/kernel/fail.h"
#include "platform/text.h"
#include "platform/windows/desktop.h"
#include "platform/windows/remote_windows.h"
#include "platform/windows/screen.h"
#include "platform/windows/window.h"

namespace portwise::platform {
namespace {

constexpr RECT kMinimized = {-32000, -32000, -32000 + 160, -32000 + 28};

void Copy(std::u16string_view text, LPWSTR buffer, int size) {
  const auto copied = text.substr(0, static_cast<std::size_t>(size) - 1);
  copied.copy(buffer, copied.size());
  buffer[copied.size()] = 0;
}

/// What a window's thread is told about it as it is shown or hidden.
struct Showing {
  bool hide = false, minimize = false, restore = false, activate = true;
};
Showing ShowingOf(int command) {
  switch (command) {
    case SW_HIDE:
      return {true, false, false, false};
    case SW_SHOWMINIMIZED:
    case SW_MINIMIZE:
    case SW_SHOWMINNOACTIVE:
      return {false, true, false, false};
    case SW_SHOWNOACTIVATE:
      return {false, false, true, false};
    case SW_SHOWNORMAL:
    case SW_RESTORE:
    case SW_SHOWDEFAULT:
      return {false, false, true, true};
    case SW_SHOWNA:
      return {false, false, false, false};
    default:
      return {};
  }
}

/// Whether the window was visible; on its thread.
std::optional<LRESULT> Show(HWND handle, int command) {
  const Showing showing = ShowingOf(command);
  const auto window = FindWindowOf(handle);
  if (!window) return std::nullopt;
  bool wasVisible, changes;
  {
    std::lock_guard lock(WindowLock());
    wasVisible = (window->style & WS_VISIBLE) != 0;
    changes = wasVisible == showing.hide;
  }
  if (changes) SendMessageW(handle, WM_SHOWWINDOW, !showing.hide, 0);
  bool sized = false;
  {
    std::lock_guard lock(WindowLock());
    window->style = showing.hide ? window->style & ~WS_VISIBLE : window->style | WS_VISIBLE;
    const bool isMinimized = (window->style & WS_MINIMIZE) != 0;
    if (showing.minimize && !isMinimized) {
      window->restored = std::exchange(window->rect, kMinimized);
      window->style |= WS_MINIMIZE;
      sized = true;
    } else if (showing.restore && isMinimized) {
      window->rect = window->restored;
      window->style &= ~WS_MINIMIZE;
      sized = true;
    }
    if (showing.activate) WindowTree::Get().BringToFront(handle);
  }
  if (sized) SendMessageW(handle, WM_SIZE, showing.minimize ? SIZE_MINIMIZED : SIZE_RESTORED, 0);
  if (showing.activate && !window->IsChild()) SetForegroundWindow(handle);
  return wasVisible;
}

/// On the window's thread; the one that was in front hears of it when it is of the same process.
std::optional<LRESULT> Activate(HWND handle) {
  const HWND before = ForegroundWindow();
  SetForeground(handle);
  {
    std::lock_guard lock(WindowLock());
    WindowTree::Get().BringToFront(handle);
  }
  if (before == handle) return TRUE;
  if (FindWindowOf(before)) PostMessageW(before, WM_ACTIVATE, WA_INACTIVE, reinterpret_cast<LPARAM>(handle));
  return CallWindow(handle, WM_ACTIVATE, WA_ACTIVE, reinterpret_cast<LPARAM>(before)) ? std::optional<LRESULT>(TRUE)
                                                                                      : std::nullopt;
}

std::optional<LRESULT> Enable(HWND handle, bool enable) {
  const auto window = FindWindowOf(handle);
  if (!window) return std::nullopt;
  bool wasDisabled;
  {
    std::lock_guard lock(WindowLock());
    wasDisabled = (window->style & WS_DISABLED) != 0;
    window->style = enable ? window->style & ~WS_DISABLED : window->style | WS_DISABLED;
  }
  if (wasDisabled == enable) CallWindow(handle, WM_ENABLE, enable, 0);
  return wasDisabled;
}

/// A change on the window's thread, wherever that is.
template <class Change>
LRESULT OnItsThread(HWND handle, const char* operation, WPARAM argument, Change change) {
  if (IsRemote(handle)) return RemoteChange(operation, handle, argument).value_or(FALSE);
  const auto window = FindWindowOf(handle);
  return window ? RunOn(window->queue, change).value_or(FALSE) : FALSE;
}

/// Of any process's window; 0 for one that has gone.
DWORD StyleOf(HWND handle) {
  if (IsRemote(handle)) {
    const auto state = RemoteState(handle);
    return state ? state->value("style", DWORD{0}) : 0;
  }
  std::lock_guard lock(WindowLock());
  const auto window = WindowTree::Get().Find(handle);
  return window ? window->style : 0;
}

LONG_PTR* DialogWord(Window& window, int index) {
  if (index == static_cast<int>(DWLP_MSGRESULT)) return &window.dialogResult;
  if (index == static_cast<int>(DWLP_USER)) return &window.dialogUser;
  if (index == GWLP_USERDATA) return &window.userData;
  if (index == GWLP_ID) return &window.id;
  return nullptr;
}

LONG_PTR SetWord(Window& window, int index, LONG_PTR value) {
  if (LONG_PTR* word = DialogWord(window, index)) return std::exchange(*word, value);
  if (index == static_cast<int>(DWLP_DLGPROC) && window.dialogProcedure) {
    return reinterpret_cast<LONG_PTR>(std::exchange(window.dialogProcedure, reinterpret_cast<DLGPROC>(value)));
  }
  if (index == GWL_STYLE) return static_cast<LONG>(std::exchange(window.style, static_cast<DWORD>(value)));
  if (index == GWL_EXSTYLE) {
    // Whether it lies above all others only SetWindowPos changes.
    const DWORD topmost = window.extendedStyle & WS_EX_TOPMOST;
    const auto next = (static_cast<DWORD>(value) & ~WS_EX_TOPMOST) | topmost;
    return static_cast<LONG>(std::exchange(window.extendedStyle, next));
  }
  SetLastError(ERROR_INVALID_PARAMETER);
  return 0;
}

void PlaceInOrder(Window& window, HWND after) {
  WindowTree& tree = WindowTree::Get();
  if (after == HWND_TOPMOST) window.extendedStyle |= WS_EX_TOPMOST;
  if (after == HWND_NOTOPMOST || after == HWND_BOTTOM) window.extendedStyle &= ~WS_EX_TOPMOST;
  tree.BringToFront(window.handle, after == HWND_BOTTOM);
}

/// The window, its owned ones and its children, in the order in which they are told of their end.
void CollectTree(HWND handle, std::vector<HWND>* all) {
  all->push_back(handle);
  const auto window = WindowTree::Get().Find(handle);
  if (!window) return;
  for (const HWND child : window->children) CollectTree(child, all);
}

std::vector<HWND> OwnedBy(HWND owner) {
  std::lock_guard lock(WindowLock());
  std::vector<HWND> owned;
  for (const HWND handle : WindowTree::Get().TopLevel()) {
    const auto window = WindowTree::Get().Find(handle);
    if (window && window->owner == owner) owned.push_back(handle);
  }
  return owned;
}

}  // namespace
}  // namespace portwise::platform

using namespace portwise::platform;

BOOL WINAPI DestroyWindow(HWND handle) {
  const auto window = FindWindowOf(handle);
  if (!window) return Fail(IsRemote(handle) ? ERROR_ACCESS_DENIED : ERROR_INVALID_WINDOW_HANDLE);
  if (window->queue.get() != CurrentQueueIfAny()) return Fail(ERROR_ACCESS_DENIED);
  {
    std::lock_guard lock(WindowLock());
    if (std::exchange(window->destroying, true)) return TRUE;
  }
  ShowWindow(handle, SW_HIDE);
  for (const HWND owned : OwnedBy(handle)) DestroyWindow(owned);
  std::vector<HWND> all;
  {
    std::lock_guard lock(WindowLock());
    CollectTree(handle, &all);
  }
  for (const HWND each : all) CallWindow(each, WM_DESTROY);
  for (auto each = all.rbegin(); each != all.rend(); ++each) {
    CallWindow(*each, WM_NCDESTROY);
    std::lock_guard lock(WindowLock());
    WindowTree::Get().Remove(*each);
  }
  window->queue->Signal();
  return TRUE;
}

BOOL WINAPI IsWindow(HWND handle) {
  if (!handle) return FALSE;
  if (IsDesktop(handle)) return TRUE;
  if (IsRemote(handle)) return RemoteState(handle).has_value();
  std::lock_guard lock(WindowLock());
  return WindowTree::Get().Has(handle);
}

BOOL WINAPI IsWindowVisible(HWND handle) {
  if (IsDesktop(handle)) return TRUE;
  if (IsRemote(handle)) {
    const auto state = RemoteState(handle);
    return state && state->value("visible", false);
  }
  std::lock_guard lock(WindowLock());
  return WindowTree::Get().IsVisible(handle);
}

BOOL WINAPI IsWindowEnabled(HWND handle) { return IsWindow(handle) && !(StyleOf(handle) & WS_DISABLED); }

BOOL WINAPI IsIconic(HWND handle) { return (StyleOf(handle) & WS_MINIMIZE) != 0; }

BOOL WINAPI ShowWindow(HWND handle, int command) {
  return OnItsThread(handle, "show", static_cast<WPARAM>(command), [=] { return Show(handle, command); }) != 0;
}

BOOL WINAPI EnableWindow(HWND handle, BOOL enable) {
  return OnItsThread(handle, "enable", static_cast<WPARAM>(enable), [=] { return Enable(handle, enable); }) != 0;
}

BOOL WINAPI SetForegroundWindow(HWND handle) {
  return OnItsThread(handle, "activate", 0, [=] { return Activate(handle); }) != 0;
}

HWND WINAPI GetForegroundWindow() {
  const HWND window = ForegroundWindow();
  return window && IsWindowVisible(window) ? window : nullptr;
}

BOOL WINAPI AllowSetForegroundWindow(DWORD) { return TRUE; }

HWND WINAPI GetParent(HWND handle) {
  const auto window = FindWindowOf(handle);
  return !window ? nullptr : window->IsChild() ? window->parent : window->owner;
}

DWORD WINAPI GetWindowThreadProcessId(HWND handle, LPDWORD process) {
  if (IsRemote(handle)) {
    const auto state = RemoteState(handle);
    if (state && process) *process = state->value("process", DWORD{0});
    return state ? state->value("thread", DWORD{0}) : 0;
  }
  const auto window = FindWindowOf(handle);
  if (window && process) *process = GetCurrentProcessId();
  return window ? window->queue->Thread() : 0;
}

BOOL WINAPI SetWindowPos(HWND handle, HWND after, int x, int y, int width, int height, UINT flags) {
  bool moved, sized, activates;
  {
    std::lock_guard lock(WindowLock());
    const auto window = WindowTree::Get().Find(handle);
    if (!window) return FALSE;
    RECT& rect = window->rect;
    const RECT before = rect;
    if (!(flags & SWP_NOMOVE)) rect = {x, y, x + rect.right - rect.left, y + rect.bottom - rect.top};
    if (!(flags & SWP_NOSIZE)) {
      rect.right = rect.left + std::max(width, 0);
      rect.bottom = rect.top + std::max(height, 0);
    }
    moved = before.left != rect.left || before.top != rect.top;
    sized =
        before.right - before.left != rect.right - rect.left || before.bottom - before.top != rect.bottom - rect.top;
    if (sized || (flags & SWP_FRAMECHANGED)) window->insets = FrameInsets(window->style, window->extendedStyle);
    if (!(flags & SWP_NOZORDER) && !window->IsChild()) PlaceInOrder(*window, after);
    activates = !(flags & (SWP_NOACTIVATE | SWP_HIDEWINDOW)) && (window->style & WS_VISIBLE) && !window->IsChild();
  }
  if (moved) SendMessageW(handle, WM_MOVE, 0, 0);
  if (sized) SendMessageW(handle, WM_SIZE, SIZE_RESTORED, 0);
  if (flags & SWP_SHOWWINDOW) ShowWindow(handle, flags & SWP_NOACTIVATE ? SW_SHOWNA : SW_SHOW);
  if (flags & SWP_HIDEWINDOW) ShowWindow(handle, SW_HIDE);
  if (activates && !(flags & SWP_NOZORDER)) SetForegroundWindow(handle);
  return TRUE;
}

BOOL WINAPI MoveWindow(HWND window, int x, int y, int width, int height, BOOL) {
  return SetWindowPos(window, nullptr, x, y, width, height, SWP_NOZORDER | SWP_NOACTIVATE);
}

BOOL WINAPI GetWindowRect(HWND handle, LPRECT rect) {
  if (IsDesktop(handle)) {
    *rect = ScreenArea();
    return TRUE;
  }
  if (IsRemote(handle)) {
    const auto state = RemoteState(handle);
    const auto sides = state ? state->value("rect", std::vector<LONG>{}) : std::vector<LONG>{};
    if (sides.size() == 4) *rect = {sides[0], sides[1], sides[2], sides[3]};
    return sides.size() == 4;
  }
  std::lock_guard lock(WindowLock());
  const auto window = WindowTree::Get().Find(handle);
  if (window) *rect = WindowTree::Get().ScreenRect(*window);
  return window != nullptr;
}

BOOL WINAPI GetClientRect(HWND handle, LPRECT rect) {
  if (IsDesktop(handle)) {
    *rect = ScreenArea();
    return TRUE;
  }
  std::lock_guard lock(WindowLock());
  const auto window = WindowTree::Get().Find(handle);
  if (window) *rect = ClientRect(*window);
  return window != nullptr;
}

int WINAPI MapWindowPoints(HWND from, HWND to, LPPOINT points, UINT count) {
  POINT distance{};
  {
    std::lock_guard lock(WindowLock());
    WindowTree& tree = WindowTree::Get();
    const auto origin = [&](HWND handle, POINT* point) {
      if (!handle || IsDesktop(handle)) return true;
      const auto window = tree.Find(handle);
      if (window) *point = tree.ClientOrigin(*window);
      return window != nullptr;
    };
    POINT first{}, second{};
    if (!origin(from, &first) || !origin(to, &second)) return 0;
    distance = {first.x - second.x, first.y - second.y};
  }
  for (UINT i = 0; i < count; ++i) points[i] = {points[i].x + distance.x, points[i].y + distance.y};
  return MAKELONG(distance.x, distance.y);
}

BOOL WINAPI ScreenToClient(HWND window, LPPOINT point) {
  if (!FindWindowOf(window)) return FALSE;
  MapWindowPoints(nullptr, window, point, 1);
  return TRUE;
}

BOOL WINAPI ClientToScreen(HWND window, LPPOINT point) {
  if (!FindWindowOf(window)) return FALSE;
  MapWindowPoints(window, nullptr, point, 1);
  return TRUE;
}

LONG_PTR WINAPI GetWindowLongPtrW(HWND handle, int index) {
  std::lock_guard lock(WindowLock());
  const auto window = WindowTree::Get().Find(handle);
  if (!window) return 0;
  if (const LONG_PTR* word = DialogWord(*window, index)) return *word;
  if (index == static_cast<int>(DWLP_DLGPROC)) return reinterpret_cast<LONG_PTR>(window->dialogProcedure);
  if (index == GWL_STYLE) return static_cast<LONG>(window->style);
  if (index == GWL_EXSTYLE) return static_cast<LONG>(window->extendedStyle);
  SetLastError(ERROR_INVALID_PARAMETER);
  return 0;
}

LONG_PTR WINAPI SetWindowLongPtrW(HWND handle, int index, LONG_PTR value) {
  std::lock_guard lock(WindowLock());
  const auto window = WindowTree::Get().Find(handle);
  return window ? SetWord(*window, index, value) : 0;
}

LONG WINAPI GetWindowLongW(HWND window, int index) { return static_cast<LONG>(GetWindowLongPtrW(window, index)); }
LONG WINAPI SetWindowLongW(HWND window, int index, LONG value) {
  return static_cast<LONG>(SetWindowLongPtrW(window, index, value));
}

BOOL WINAPI InvalidateRect(HWND window, const RECT*, BOOL) { return !window || IsWindow(window); }
BOOL WINAPI UpdateWindow(HWND window) { return IsWindow(window); }

int WINAPI GetWindowTextW(HWND handle, LPWSTR text, int size) {
  if (!text || size <= 0) return 0;
  *text = 0;
  if (!IsRemote(handle)) {
    return static_cast<int>(
        SendMessageW(handle, WM_GETTEXT, static_cast<WPARAM>(size), reinterpret_cast<LPARAM>(text)));
  }
  const auto state = RemoteState(handle);
  if (!state) return 0;
  Copy(ToUtf16(state->value("text", "")), text, size);
  return static_cast<int>(std::u16string_view(text).size());
}

int WINAPI GetWindowTextLengthW(HWND handle) {
  if (!IsRemote(handle)) return static_cast<int>(SendMessageW(handle, WM_GETTEXTLENGTH, 0, 0));
  const auto state = RemoteState(handle);
  return state ? static_cast<int>(ToUtf16(state->value("text", "")).size()) : 0;
}

BOOL WINAPI SetWindowTextW(HWND window, LPCWSTR text) {
  if (IsRemote(window)) return Fail(ERROR_ACCESS_DENIED);
  return SendMessageW(window, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text)) != 0;
}

HWND WINAPI SetFocus(HWND window) {
  const auto queue = CurrentQueue();
  const HWND before = std::exchange(queue->focus, window);
  if (before == window) return before;
  if (before) CallWindow(before, WM_KILLFOCUS, reinterpret_cast<WPARAM>(window), 0);
  if (window) CallWindow(window, WM_SETFOCUS, reinterpret_cast<WPARAM>(before), 0);
  return before;
}

HWND WINAPI GetFocus() { return CurrentQueue()->focus; }

HWND WINAPI SetCapture(HWND window) {
  const auto queue = CurrentQueue();
  HWND before;
  {
    std::lock_guard lock(WindowLock());
    before = std::exchange(queue->capture, window);
  }
  if (before && before != window) CallWindow(before, WM_CAPTURECHANGED, 0, reinterpret_cast<LPARAM>(window));
  return before;
}

HWND WINAPI GetCapture() { return CurrentQueue()->capture; }

BOOL WINAPI ReleaseCapture() {
  SetCapture(nullptr);
  return TRUE;
}
