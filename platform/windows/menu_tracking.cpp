#include <algorithm>

#include "platform/kernel/fail.h"
#include "platform/windows/menus.h"
#include "platform/windows/window.h"

namespace portwise::platform {
namespace {

struct Tracking {
  ShownMenu shown;
  MessageQueue* queue = nullptr;
  bool over = false;
  UINT chosen = 0;
};
// Under the windows' lock; null when no menu is shown.
Tracking* tracking = nullptr;

/// Whether the menu, or one below it, has such an item that can be chosen.
bool CanChoose(HMENU menu, UINT id) {
  const auto items = ItemsOf(menu);
  return items && std::any_of(items->begin(), items->end(), [id](const MenuItem& item) {
           if (item.submenu) return !item.grayed && CanChoose(item.submenu, id);
           return !item.separator && !item.grayed && item.id == id;
         });
}

/// Serves messages until an item is chosen, the menu is dismissed or its window ends.
void RunMenuLoop(Tracking& menu) {
  MSG message;
  const auto over = [&] { return menu.over || !WindowTree::Get().Has(menu.shown.window); };
  while (WaitForMessage({}, &message, over)) {
    if (message.message == WM_QUIT) {
      PostQuitMessage(static_cast<int>(message.wParam));
      return;
    }
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

}  // namespace

std::optional<ShownMenu> MenuShown() { return tracking ? std::optional(tracking->shown) : std::nullopt; }

bool ChooseItem(HWND window, UINT id) {
  std::lock_guard lock(WindowLock());
  if (!tracking || tracking->over || tracking->shown.window != window ||
      (id != 0 && !CanChoose(tracking->shown.menu, id)))
    return false;
  tracking->chosen = id;
  tracking->over = true;
  tracking->queue->Signal();
  return true;
}

}  // namespace portwise::platform

using namespace portwise::platform;

BOOL WINAPI TrackPopupMenuEx(HMENU menu, UINT flags, int x, int y, HWND window, LPTPMPARAMS) {
  if (!ItemsOf(menu)) return FALSE;
  const auto owner = FindWindowOf(window);
  if (!owner || owner->queue.get() != CurrentQueueIfAny()) return Fail(ERROR_INVALID_WINDOW_HANDLE);
  Tracking own{{menu, window, x, y}, owner->queue.get()};
  {
    std::lock_guard lock(WindowLock());
    if (tracking) return Fail(ERROR_POPUP_ALREADY_ACTIVE);
  }
  if (!(flags & TPM_NONOTIFY)) SendMessageW(window, WM_INITMENUPOPUP, reinterpret_cast<WPARAM>(menu), 0);
  {
    std::lock_guard lock(WindowLock());
    if (tracking) return Fail(ERROR_POPUP_ALREADY_ACTIVE);
    tracking = &own;
  }
  RunMenuLoop(own);
  {
    std::lock_guard lock(WindowLock());
    tracking = nullptr;
  }
  if (flags & TPM_RETURNCMD) return static_cast<BOOL>(own.chosen);
  if (own.chosen != 0) PostMessageW(window, WM_COMMAND, MAKEWPARAM(own.chosen, 0), 0);
  return TRUE;
}

BOOL WINAPI TrackPopupMenu(HMENU menu, UINT flags, int x, int y, int, HWND window, const RECT*) {
  return TrackPopupMenuEx(menu, flags, x, y, window, nullptr);
}
