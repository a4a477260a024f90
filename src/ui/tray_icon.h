#pragma once

#include <windows.h>

#include "core/ostring.h"

namespace portwise {

/// A window's icon in the notification area. It goes when the object does.
class TrayIcon {
 public:
  /// The mouse's messages arrive at the window as this message, with the mouse's in lParam.
  static constexpr UINT kMessage = WM_USER + 2;

  TrayIcon() = default;
  TrayIcon(const TrayIcon&) = delete;
  TrayIcon& operator=(const TrayIcon&) = delete;
  ~TrayIcon() { Remove(); }

  /// False while there is no notification area.
  bool Add(HWND window, HICON icon, const OString& tip);
  /// Does nothing when it is not shown.
  void Change(HICON icon, const OString& tip);
  void Remove();
  bool IsShown() const { return window_ != nullptr; }

  /// Told to all windows when there is a new notification area, without the icons of the old one.
  static UINT AreaMadeMessage();
  void ForgetArea() { window_ = nullptr; }

 private:
  HWND window_ = nullptr;  // null while the icon is not shown
};

}  // namespace portwise
