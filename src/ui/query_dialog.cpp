#include "ui/query_dialog.h"

#include <commctrl.h>

#include "core/module_instance.h"
#include "ui/monitor_command_line.h"
#include "ui/printer_requests.h"
#include "ui/window_guard.h"
#include "ui/window_settings.h"

namespace portwise {
namespace {

enum Control {
  kStatus = 1009,
  kBytesSent = 1010,
  kBytesReceived = 1011,
  kProgress = 1012,
  kCancel = 1013,
  kName = 1015
};

constexpr UINT kTitleText = 14201;
constexpr UINT_PTR kPollTimer = 1;
constexpr UINT kPollPeriod = 500;
/// Between the last look at the queries and their end.
constexpr DWORD kPauseBeforeCancel = 50;

}  // namespace

QueryDlg::QueryDlg(const PrintJob& job, const OString& language) : job_(job), locale_(language), poll_(job, locale_) {}

int QueryDlg::Run(HWND owner) {
  INITCOMMONCONTROLSEX classes = {sizeof classes, ICC_PROGRESS_CLASS};
  InitCommonControlsEx(&classes);
  DWORD size = 0;
  const auto* dialog = static_cast<LPCDLGTEMPLATEW>(locale_.GetDialog(TEXT("DLG_QUERY1"), &size));
  if (!dialog) return kNotShown;
  const INT_PTR result =
      DialogBoxIndirectParamW(ModuleInstance(), dialog, owner, Procedure, reinterpret_cast<LPARAM>(this));
  return result > 0 ? static_cast<int>(result) : kNotShown;
}

INT_PTR CALLBACK QueryDlg::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* dialog = ObjectOfDialog<QueryDlg>(window, message, lParam);
  if (!dialog) return FALSE;
  if (message == WM_INITDIALOG) dialog->window_ = window;
  WindowGuard guard("QueryDlg", window, [](HWND failed) { EndDialog(failed, kCancelled); });
  return RunGuarded(guard, [&] { return dialog->OnMessage(message, wParam) ? TRUE : FALSE; });
}

bool QueryDlg::OnMessage(UINT message, WPARAM wParam) {
  switch (message) {
    case WM_INITDIALOG:
      OnInitDialog();
      return true;
    case WM_COMMAND:
      OnCommand(LOWORD(wParam));
      return true;
    case WM_CLOSE:
      OnCommand(IDCANCEL);
      return true;
    case WM_TIMER:
      if (wParam == kPollTimer) OnTimer();
      return true;
    default:
      return false;
  }
}

void QueryDlg::OnInitDialog() {
  OString title = locale_.LoadString(kTitleText);
  title.Replace("%s", job_.Printer());
  SetWindowTextW(window_, title.Wide());
  SetDlgItemTextW(window_, kBytesSent, TEXT("0"));
  SetDlgItemTextW(window_, kBytesReceived, TEXT("0"));
  SendDlgItemMessageW(window_, kProgress, PBM_SETRANGE32, 0, 100);
  Show();
  job_.MakeFirst();
  SetTimer(window_, kPollTimer, kPollPeriod, nullptr);
  busy_ = true;
  poll_.CheckStatus();
  busy_ = false;
  Show();
  if (cancelWhenDone_) Cancel();
}

void QueryDlg::OnCommand(int id) {
  if (id == kCancel || id == IDCANCEL) Cancel();
}

void QueryDlg::OnTimer() {
  if (busy_) return;
  busy_ = true;
  poll_.Look();
  busy_ = false;
  Show();
  if (cancelWhenDone_) {
    Cancel();
  } else if (poll_.IsComplete()) {
    Close(kComplete);
  } else if (!job_.IsAlive()) {
    AskPrinter(job_.Printer(), "<xpml><query action='cancel' />;</xpml>");
    Close(kCancelled);
  }
}

void QueryDlg::Cancel() {
  StopTimer();
  // A request may be on its way while the window takes messages.
  cancelWhenDone_ = busy_;
  if (busy_) return;
  busy_ = true;
  Sleep(kPauseBeforeCancel);
  AskPrinter(job_.Printer(), "<query action='cancel' />");
  job_.Delete();
  Close(kCancelled);
}

void QueryDlg::Close(int result) {
  StopTimer();
  EndDialog(window_, result);
}

void QueryDlg::StopTimer() {
  KillTimer(window_, kPollTimer);
  MSG message;
  while (PeekMessageW(&message, window_, WM_TIMER, WM_TIMER, PM_REMOVE)) {
  }
}

void QueryDlg::Show() {
  const QueryView& view = poll_.View();
  const auto showText = [this](int control, const OString& text, const OString& shown) {
    if (!text.EqualsNoCase(shown)) SetDlgItemTextW(window_, control, text.Wide());
  };
  const auto showCount = [this](int control, ULONGLONG count, ULONGLONG shown) {
    if (count != shown) SetDlgItemTextW(window_, control, OString::FromUnsigned(count).Wide());
  };
  showText(kName, view.name, shown_.name);
  showText(kStatus, view.status, shown_.status);
  showCount(kBytesSent, view.bytesSent, shown_.bytesSent);
  showCount(kBytesReceived, view.bytesReceived, shown_.bytesReceived);
  if (view.total != shown_.total) SendDlgItemMessageW(window_, kProgress, PBM_SETRANGE32, 0, view.total);
  if (view.complete != shown_.complete)
    SendDlgItemMessageW(window_, kProgress, PBM_SETPOS, static_cast<WPARAM>(view.complete), 0);
  shown_ = view;
}

int RunQueryDialog(HWND owner, const OString& commandLine) {
  const MonitorCommandLine line(commandLine);
  if (line.verb != MonitorVerb::Open || line.printer.IsEmpty()) return QueryDlg::kNotShown;
  const PrintJob job(line.printer,
                     line.job >= 1 ? static_cast<DWORD>(line.job) : FindJobOfName(line.printer, line.jobName));
  if (!job.IsAlive()) return QueryDlg::kCancelled;
  return QueryDlg(job, WindowSettings(line.printer).Language()).Run(owner);
}

}  // namespace portwise
