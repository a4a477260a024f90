#include "platform/windows/notification_icons.h"

#include <algorithm>

#include "platform/kernel/fail.h"
#include "platform/windows/window.h"

namespace portwise::platform {
namespace {

std::vector<NotificationIcon>& TheIcons() {
  static auto& icons = *new std::vector<NotificationIcon>;
  return icons;
}

void Apply(const NOTIFYICONDATAW& data, NotificationIcon* icon) {
  if (data.uFlags & NIF_MESSAGE) icon->callbackMessage = data.uCallbackMessage;
  if (data.uFlags & NIF_ICON) icon->icon = data.hIcon;
  if (data.uFlags & NIF_TIP) icon->tip.assign(data.szTip, std::find(data.szTip, std::end(data.szTip) - 1, u'\0'));
}

}  // namespace

const std::vector<NotificationIcon>& NotificationIcons() { return TheIcons(); }

void ForgetNotificationIcons(HWND window) {
  std::erase_if(TheIcons(), [window](const NotificationIcon& icon) { return icon.window == window; });
}

}  // namespace portwise::platform

using namespace portwise::platform;

BOOL WINAPI Shell_NotifyIconW(DWORD message, PNOTIFYICONDATAW data) {
  constexpr DWORD kOldestSize = offsetof(NOTIFYICONDATAW, dwState);
  if (!data || data->cbSize < kOldestSize) return Fail(ERROR_INVALID_PARAMETER);
  std::lock_guard lock(WindowLock());
  if (!WindowTree::Get().Has(data->hWnd)) return Fail(ERROR_INVALID_WINDOW_HANDLE);
  auto& icons = TheIcons();
  const auto known = std::find_if(icons.begin(), icons.end(), [data](const NotificationIcon& icon) {
    return icon.window == data->hWnd && icon.id == data->uID;
  });
  switch (message) {
    case NIM_ADD:
      if (known != icons.end()) return FALSE;
      Apply(*data, &icons.emplace_back(NotificationIcon{data->hWnd, data->uID, 0, nullptr, {}}));
      return TRUE;
    case NIM_MODIFY:
      if (known == icons.end()) return FALSE;
      Apply(*data, &*known);
      return TRUE;
    case NIM_DELETE:
      if (known == icons.end()) return FALSE;
      icons.erase(known);
      return TRUE;
    default:
      return Fail(ERROR_NOT_SUPPORTED);
  }
}
