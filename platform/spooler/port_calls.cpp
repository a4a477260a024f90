#include <winspool.h>

#include "platform/kernel/fail.h"
#include "platform/spooler/spooler_service.h"
#include "platform/text.h"
#include "platform/windows/dialogs.h"

namespace portwise::platform {

namespace {

using Json = nlohmann::json;

constexpr int kNameField = 101, kHostField = 102, kReason = 103;
constexpr char16_t kTcpMonitor[] = u"Standard TCP/IP Port";

/// What the dialog of the network ports is shown for.
struct PortForm {
  const char* order;
  std::string name, host;
  DWORD error = ERROR_CANCELLED;
};

DWORD Ask(const Json& order, Message* answer) {
  *answer = CallSpooler({order, {}});
  return answer->head.value("error", DWORD{ERROR_SUCCESS});
}

std::string FieldOf(HWND dialog, int id) {
  WCHAR text[512];
  GetDlgItemTextW(dialog, id, text, static_cast<int>(std::size(text)));
  return ToUtf8(text);
}

/// Gives the order; what the spooler has against it is told, and the dialog stays.
void Accept(HWND dialog, PortForm& form) {
  Message answer;
  const DWORD error =
      Ask({{"op", form.order}, {"name", FieldOf(dialog, kNameField)}, {"host", FieldOf(dialog, kHostField)}}, &answer);
  if (error == ERROR_SUCCESS || error == RPC_S_SERVER_UNAVAILABLE) {
    form.error = error;
    EndDialog(dialog, IDOK);
    return;
  }
  SetDlgItemTextW(dialog, kReason, ToUtf16(answer.head.value("reason", "")).c_str());
}

INT_PTR CALLBACK FormProcedure(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_INITDIALOG) {
    SetWindowLongPtrW(dialog, DWLP_USER, lParam);
    const auto* form = reinterpret_cast<const PortForm*>(lParam);
    SetDlgItemTextW(dialog, kNameField, ToUtf16(form->name).c_str());
    SetDlgItemTextW(dialog, kHostField, ToUtf16(form->host).c_str());
    return TRUE;
  }
  if (message != WM_COMMAND) return FALSE;
  if (LOWORD(wParam) == IDCANCEL) EndDialog(dialog, IDCANCEL);
  if (LOWORD(wParam) == IDOK) Accept(dialog, *reinterpret_cast<PortForm*>(GetWindowLongPtrW(dialog, DWLP_USER)));
  return TRUE;
}

BOOL ShowForm(HWND owner, PortForm form) {
  DialogTemplate dialog;
  dialog.style = WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME | DS_CENTER;
  dialog.title = kTcpMonitor;
  dialog.width = 220;
  dialog.height = 78;
  const bool isNew = form.name.empty();
  const DWORD nameStyle = isNew ? WS_VISIBLE | WS_TABSTOP : WS_VISIBLE | WS_DISABLED;
  dialog.items = {{WS_VISIBLE, 0, 7, 7, 60, 10, -1, u"Static", u"Port name:"},
                  {nameStyle, 0, 70, 7, 140, 12, kNameField, u"Edit", u""},
                  {WS_VISIBLE, 0, 7, 23, 60, 10, -1, u"Static", u"Host name or address:"},
                  {WS_VISIBLE | WS_TABSTOP, 0, 70, 23, 140, 12, kHostField, u"Edit", u""},
                  {WS_VISIBLE | SS_NOPREFIX, 0, 7, 39, 206, 10, kReason, u"Static", u""},
                  {WS_VISIBLE | WS_TABSTOP | BS_DEFPUSHBUTTON, 0, 100, 57, 50, 14, IDOK, u"Button", u"OK"},
                  {WS_VISIBLE | WS_TABSTOP, 0, 157, 57, 50, 14, IDCANCEL, u"Button", u"Cancel"}};
  RunDialogOf(nullptr, dialog, owner, FormProcedure, reinterpret_cast<LPARAM>(&form));
  return form.error == ERROR_SUCCESS || Fail(form.error);
}

}  // namespace

}  // namespace portwise::platform

using namespace portwise::platform;

BOOL WINAPI AddPortW(LPWSTR server, HWND owner, LPWSTR monitor) {
  if (server && *server) return Fail(ERROR_NOT_SUPPORTED);
  if (!monitor || FoldCase(monitor) != FoldCase(kTcpMonitor)) return Fail(ERROR_UNKNOWN_PRINT_MONITOR);
  return ShowForm(owner, {"port-add", {}, {}});
}

BOOL WINAPI ConfigurePortW(LPWSTR server, HWND owner, LPWSTR port) {
  if (server && *server) return Fail(ERROR_NOT_SUPPORTED);
  if (!port || !*port) return Fail(ERROR_UNKNOWN_PORT);
  Message answer;
  const DWORD error = Ask({{"op", "port-get"}, {"name", ToUtf8(port)}}, &answer);
  if (error != ERROR_SUCCESS) return Fail(error == RPC_S_SERVER_UNAVAILABLE ? error : ERROR_UNKNOWN_PORT);
  if (!answer.head.contains("host")) return Fail(ERROR_NOT_SUPPORTED);
  return ShowForm(owner, {"port-set", answer.head.value("name", ""), answer.head.value("host", "")});
}
