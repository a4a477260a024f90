#include "ui/tray_icon.h"

#include <shellapi.h>

#include <iterator>

namespace portwise {
namespace {

constexpr UINT kIconId = 1;

NOTIFYICONDATAW Describe(HWND window) {
  NOTIFYICONDATAW data = {};
  data.cbSize = sizeof data;
  data.hWnd = window;
  data.uID = kIconId;
  return data;
}

NOTIFYICONDATAW Describe(HWND window, HICON icon, const OString& tip) {
  NOTIFYICONDATAW data = Describe(window);
  data.uFlags = NIF_MESSAGE | NIF_ICON | NIF_TIP;
  data.uCallbackMessage = TrayIcon::kMessage;
  data.hIcon = icon;
  tip.View().copy(data.szTip, std::size(data.szTip) - 1);
  return data;
}

}  // namespace

bool TrayIcon::Add(HWND window, HICON icon, const OString& tip) {
  NOTIFYICONDATAW data = Describe(window, icon, tip);
  if (!Shell_NotifyIconW(NIM_ADD, &data)) return false;
  window_ = window;
  return true;
}

void TrayIcon::Change(HICON icon, const OString& tip) {
  if (!window_) return;
  NOTIFYICONDATAW data = Describe(window_, icon, tip);
  Shell_NotifyIconW(NIM_MODIFY, &data);
}

void TrayIcon::Remove() {
  if (!window_) return;
  NOTIFYICONDATAW data = Describe(window_);
  Shell_NotifyIconW(NIM_DELETE, &data);
  window_ = nullptr;
}

UINT TrayIcon::AreaMadeMessage() { return RegisterWindowMessageW(TEXT("TaskbarCreated")); }

}  // namespace portwise
