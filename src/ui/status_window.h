#pragma once

#include <windows.h>

#include "core/ostring.h"
#include "locale/pm_locale.h"
#include "ui/status_icons.h"
#include "ui/status_menu.h"
#include "ui/status_size.h"
#include "ui/title_bar.h"
#include "ui/tray_icon.h"
#include "ui/window_drag.h"
#include "ui/window_settings.h"

namespace portwise {

/// Shows the name, the port and the status of one printer, in a window and in the notification area, and asks the
/// printer's monitor for them on a timer. Lives on one thread.
class StatusWindow {
 public:
  /// Ends the window of another process for good.
  static constexpr UINT kCloseMessage = WM_USER + 1;

  explicit StatusWindow(const OString& printer);
  ~StatusWindow();
  StatusWindow(const StatusWindow&) = delete;
  StatusWindow& operator=(const StatusWindow&) = delete;

  /// Makes the window; false when its dialog or its menu is missing.
  bool Create(bool hidden);
  /// Runs the thread's messages until the window has been closed.
  void RunUntilClosed();

 private:
  static INT_PTR CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  /// False for a message that is left to the system.
  bool OnMessage(UINT message, WPARAM wParam, LPARAM lParam);
  void OnInitDialog();
  void OnTimer();
  void OnCommand(WORD command);
  void OnIconMessage(UINT mouseMessage);
  void OnEndSession(bool logOff);
  void OnDestroy();

  /// What the printer says is shown; false when it said nothing that can be.
  bool AskStatus();
  void ShowStatus(const OString& text, int severity);
  void ShowIcon();
  void ShowPort(const OString& port);
  void PopUp();
  void ApplySettings();
  void HideIcon();
  /// Hides the window, or ends it when nothing would bring it back.
  void Dismiss();
  void Close();
  OString Tip() const { return printer_ + ": " + text_; }

  const OString printer_;
  WindowSettings settings_;
  pmLocale locale_;
  StatusMenu menu_;
  StatusIcon icon_;
  TitleBar titleBar_;
  StatusSize size_;
  WindowDrag drag_;
  TrayIcon trayIcon_;
  const UINT trayMadeMessage_ = TrayIcon::AreaMadeMessage();
  HWND window_ = nullptr;  // null once it is destroyed
  OString text_;
  OString port_;
  int severity_;
  bool onTop_ = false;
  bool asking_ = false;
  bool closeWhenAsked_ = false;
};

}  // namespace portwise
