#include "ui/status_window.h"

#include <winspool.h>

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

#include "core/module_instance.h"
#include "core/open_printer.h"
#include "query/printer_status.h"
#include "settings/driver_settings.h"
#include "settings/printer_info.h"
#include "ui/driver_settings_page.h"
#include "ui/printer_requests.h"
#include "ui/status_request.h"
#include "ui/window_guard.h"
#include "ui/window_registry.h"

namespace portwise {
namespace {

enum Control { kPrinterName = 1015, kPortName = 1016, kStatusText = 1017 };

constexpr UINT kRequestingText = 14028;
constexpr UINT kTitleText = 14044;
constexpr UINT kPortUnknownText = 14045;

constexpr UINT_PTR kStatusTimer = 1;

UINT PollingInterval(const OString& printer) {
  DriverSettings settings;
  settings.Init(PrinterRegistry(printer));
  return static_cast<UINT>(std::min<DWORD>(settings.GetActivePollingInterval(), USER_TIMER_MAXIMUM));
}

bool IsDeleted(const OString& printer) {
  return !OpenPrinterByName(printer, PRINTER_ACCESS_USE) && GetLastError() == ERROR_INVALID_PRINTER_NAME;
}

}  // namespace

StatusWindow::StatusWindow(const OString& printer)
    : printer_(printer),
      settings_(printer),
      locale_(settings_.Language()),
      menu_(locale_),
      icon_(locale_, static_cast<int>(Severity::Normal)),
      text_(locale_.LoadString(kRequestingText)),
      port_(PrinterInfo(printer).portName),
      severity_(static_cast<int>(Severity::Normal)) {}

StatusWindow::~StatusWindow() {
  if (window_) DestroyWindow(window_);
}

bool StatusWindow::Create(bool hidden) {
  DWORD size = 0;
  const auto* dialog = static_cast<LPCDLGTEMPLATEW>(locale_.GetDialog(TEXT("DLG_STATUSWINDOW"), &size));
  if (!dialog || !menu_.IsLoaded()) return false;
  const HWND window = CreateDialogIndirectParamW(ModuleInstance(), dialog, GetDesktopWindow(), Procedure,
                                                 reinterpret_cast<LPARAM>(this));
  if (!window) return false;
  ShowWindow(window, hidden ? SW_HIDE : SW_SHOW);
  // Of a process that was started hidden, the system does with the first call what the starter wished.
  if (!hidden && !IsWindowVisible(window)) ShowWindow(window, SW_SHOW);
  return true;
}

void StatusWindow::RunUntilClosed() {
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    if (window_ && IsDialogMessageW(window_, &message)) continue;
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

INT_PTR CALLBACK StatusWindow::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* object = ObjectOfDialog<StatusWindow>(window, message, lParam);
  if (!object) {
    // The window has failed, or has not begun.
    if (message == WM_DESTROY) PostQuitMessage(0);
    return FALSE;
  }
  if (message == WM_INITDIALOG) object->window_ = window;
  WindowGuard guard("StatusWindow", window, [](HWND failed) { DestroyWindow(failed); });
  return RunGuarded(guard, [&] { return object->OnMessage(message, wParam, lParam) ? TRUE : FALSE; });
}

bool StatusWindow::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  if (drag_.OnMessage(window_, message, lParam)) return true;
  if (message == trayMadeMessage_) {
    trayIcon_.ForgetArea();
    ApplySettings();
    return true;
  }
  switch (message) {
    case WM_INITDIALOG:
      OnInitDialog();
      return true;
    case WM_TIMER:
      if (wParam == kStatusTimer) OnTimer();
      return true;
    case WM_COMMAND:
      OnCommand(LOWORD(wParam));
      return true;
    case WM_RBUTTONDOWN: {
      POINT place = MousePoint(lParam);
      MapWindowPoints(window_, nullptr, &place, 1);
      menu_.ShowForWindow(window_, place, printer_);
      return true;
    }
    case TrayIcon::kMessage:
      OnIconMessage(static_cast<UINT>(lParam));
      return true;
    case WM_CLOSE:
      Dismiss();
      return true;
    case kCloseMessage:
      Close();
      return true;
    case WM_ENDSESSION:
      if (wParam) OnEndSession((lParam & static_cast<LPARAM>(ENDSESSION_LOGOFF)) != 0);
      return true;
    case WM_DESTROY:
      OnDestroy();
      return true;
    default:
      return false;
  }
}

void StatusWindow::OnInitDialog() {
  OString title = locale_.LoadString(kTitleText);
  title.Replace("%s", printer_);
  SetWindowTextW(window_, title.Wide());
  RegisterWindow(printer_, PrinterWindow::Status, window_);

  SetDlgItemTextW(window_, kPrinterName, printer_.Wide());
  ShowPort(port_);
  SetDlgItemTextW(window_, kStatusText, text_.Wide());
  size_.Fit(window_, GetDlgItem(window_, kStatusText), text_);
  ShowIcon();

  ApplySettings();
  // After the title bar, which a window that had none when it was left must not make room for once more.
  if (const std::optional<POINT> corner = settings_.Position()) {
    SetWindowPos(window_, nullptr, corner->x, corner->y, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
  }
  SetTimer(window_, kStatusTimer, PollingInterval(printer_), nullptr);
}

void StatusWindow::OnTimer() {
  if (asking_) return;
  settings_ = WindowSettings(printer_);
  const OString before = text_;
  asking_ = true;
  const bool answered = AskStatus();
  asking_ = false;
  if (closeWhenAsked_) return Close();

  if (answered && text_ != before && settings_.ShowOnError() && severity_ != static_cast<int>(Severity::Normal)) {
    PopUp();
  }
  ApplySettings();
  // Another window of this printer may have been registered over this one, and be gone.
  if (!FindRegisteredWindow(printer_, PrinterWindow::Status)) {
    RegisterWindow(printer_, PrinterWindow::Status, window_);
  }
}

bool StatusWindow::AskStatus() {
  std::optional<std::string> reply;
  if (PrinterInfo::IsBidirectional(printer_)) reply = AskPrinter(printer_, StatusRequest(locale_.Language()));
  if (!reply) {
    if (IsDeleted(printer_)) PostMessageW(window_, kCloseMessage, 0, 0);
    const PrinterStatus disabled(kStatusMonitoringDisabled);
    ShowStatus(disabled.Text(locale_, PrinterStatus::kCommas), static_cast<int>(Severity::Error));
    return false;
  }
  const std::optional<StatusReply> status = ReadStatusReply(*reply);
  if (!status) return false;
  ShowStatus(status->text, status->severity);
  if (status->port != port_) ShowPort(status->port);
  return true;
}

void StatusWindow::ShowStatus(const OString& text, int severity) {
  const bool newText = text != text_;
  const bool newSeverity = severity != severity_;
  text_ = text;
  severity_ = severity;
  if (newSeverity) {
    StatusIcon previous = std::exchange(icon_, StatusIcon(locale_, severity));  // shown until the next line
    ShowIcon();
  }
  if (newText) SetDlgItemTextW(window_, kStatusText, text.Wide());
  size_.Fit(window_, GetDlgItem(window_, kStatusText), text);
  if (newText || newSeverity) trayIcon_.Change(icon_.Small(), Tip());
}

void StatusWindow::ShowIcon() {
  SendMessageW(window_, WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(icon_.Small()));
  SendMessageW(window_, WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(icon_.Large()));
}

void StatusWindow::ShowPort(const OString& port) {
  port_ = port;
  const OString text = port.IsEmpty() ? locale_.LoadString(kPortUnknownText) : port;
  SetDlgItemTextW(window_, kPortName, text.Wide());
}

void StatusWindow::PopUp() {
  // A minimized window would stay so.
  if (IsIconic(window_)) ShowWindow(window_, SW_SHOWNOACTIVATE);
  SetWindowPos(window_, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_SHOWWINDOW);
}

void StatusWindow::ApplySettings() {
  titleBar_.SetHidden(window_, settings_.HideTitlebar());
  if (settings_.AlwaysOnTop() != onTop_) {
    onTop_ = settings_.AlwaysOnTop();
    SetWindowPos(window_, onTop_ ? HWND_TOPMOST : HWND_NOTOPMOST, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
  }
  if (!settings_.ShowIcon()) {
    trayIcon_.Remove();
  } else if (!trayIcon_.IsShown()) {
    // Tried again in the next tick while there is no notification area.
    trayIcon_.Add(window_, icon_.Small(), Tip());
  }
}

void StatusWindow::OnCommand(WORD command) {
  switch (command) {
    case kShowStatusWindow:
      return BringForward(window_);
    case kHideIcon:
      return HideIcon();
    case kHideStatusWindow:
      ShowWindow(window_, SW_HIDE);
      return;
    case kStatusMonitoring:
      if (const HWND open = FindRegisteredWindow(printer_, PrinterWindow::StatusMonitoring)) return BringForward(open);
      ShowStatusSettings(printer_, window_);
      return;
    default:
      StartPrinterCommand(command, printer_);
  }
}

void StatusWindow::OnIconMessage(UINT mouseMessage) {
  if (mouseMessage == WM_LBUTTONDBLCLK) {
    BringForward(window_);
  } else if (mouseMessage == WM_RBUTTONDOWN) {
    POINT place = {};
    GetCursorPos(&place);
    menu_.ShowForIcon(window_, place, printer_);
  }
}

void StatusWindow::OnEndSession(bool logOff) {
  if (!logOff && !PrinterInfo(printer_).remote) AskPrinter(printer_, "<network action='shutdown'/>");
}

void StatusWindow::HideIcon() {
  settings_ = WindowSettings(printer_);
  settings_.SwitchIconOff();
  trayIcon_.Remove();
  if (!settings_.ShowOnError() && !IsWindowVisible(window_)) Close();
}

void StatusWindow::Dismiss() {
  settings_ = WindowSettings(printer_);
  if (settings_.StaysInBackground()) {
    ShowWindow(window_, SW_HIDE);
  } else {
    Close();
  }
}

void StatusWindow::Close() {
  closeWhenAsked_ = asking_;
  if (asking_) return;
  RECT place = {};
  // A minimized window is somewhere else.
  if (!IsIconic(window_) && GetWindowRect(window_, &place)) settings_.SavePosition({place.left, place.top});
  trayIcon_.Remove();
  DestroyWindow(window_);
}

void StatusWindow::OnDestroy() {
  KillTimer(window_, kStatusTimer);
  UnregisterWindow(printer_, PrinterWindow::Status, window_);
  SetWindowLongPtrW(window_, DWLP_USER, 0);
  window_ = nullptr;
  PostQuitMessage(0);
}

}  // namespace portwise
