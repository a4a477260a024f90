#pragma once

#include <shellapi.h>

#include <string>
#include <vector>

namespace portwise::platform {

/// An icon of the notification area.
struct NotificationIcon {
  HWND window;
  UINT id;
  UINT callbackMessage = 0;
  HICON icon = nullptr;
  std::u16string tip;
};

/// Those of this process, in the order in which they came. With the windows' lock.
const std::vector<NotificationIcon>& NotificationIcons();
/// With the windows' lock.
void ForgetNotificationIcons(HWND window);

}  // namespace portwise::platform
