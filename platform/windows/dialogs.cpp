#include "platform/windows/dialogs.h"

#include <algorithm>

#include "platform/kernel/fail.h"
#include "platform/windows/controls.h"
#include "platform/windows/fonts.h"
#include "platform/windows/screen.h"
#include "platform/windows/window.h"

namespace portwise::platform {
namespace {

// A dialog unit is a quarter of a character's width and an eighth of its height.
constexpr int ToPixelsX(int units) { return units * kCharacterWidth / 4; }
constexpr int ToPixelsY(int units) { return units * kCharacterHeight / 8; }

/// Messages whose answer is what the dialog procedure itself returns.
bool AnswersDirectly(UINT message) {
  return message == WM_INITDIALOG || message == WM_COMPAREITEM ||
         (message >= WM_CTLCOLORMSGBOX && message <= WM_CTLCOLORSTATIC);
}

/// The push button that Enter presses; null without one.
HWND DefaultButton(HWND dialog, int* id) {
  const LRESULT answer = SendMessageW(dialog, DM_GETDEFID, 0, 0);
  *id = HIWORD(answer) == DC_HASDEFID ? LOWORD(answer) : IDOK;
  return GetDlgItem(dialog, *id);
}

LRESULT DefaultOfDialog(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
  std::unique_lock lock(WindowLock());
  const auto window = WindowTree::Get().Find(handle);
  if (!window) return 0;
  switch (message) {
    case WM_SETFONT:
      window->font = reinterpret_cast<HFONT>(wParam);
      return 0;
    case WM_GETFONT:
      return reinterpret_cast<LRESULT>(window->font);
    case DM_GETDEFID:
      return window->defaultId == 0 ? 0 : MAKELRESULT(window->defaultId, DC_HASDEFID);
    case DM_SETDEFID:
      window->defaultId = static_cast<int>(wParam);
      return TRUE;
    default:
      break;
  }
  lock.unlock();
  if (message == WM_CLOSE) {
    // A dialog that has no way out of its own stays.
    const HWND cancel = GetDlgItem(handle, IDCANCEL);
    if (!cancel || IsWindowEnabled(cancel)) {
      PostMessageW(handle, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), reinterpret_cast<LPARAM>(cancel));
    }
    return 0;
  }
  return DefWindowProcW(handle, message, wParam, lParam);
}

LRESULT CALLBACK DialogProcedure(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
  const auto window = FindWindowOf(handle);
  if (!window) return 0;
  window->dialogResult = 0;
  const DLGPROC procedure = window->dialogProcedure;
  const INT_PTR handled = procedure ? procedure(handle, message, wParam, lParam) : FALSE;
  if (AnswersDirectly(message)) return handled;
  return handled ? window->dialogResult : DefaultOfDialog(handle, message, wParam, lParam);
}

/// Where the dialog stands: relative to its owner's client area, or in the middle of it.
RECT PlaceOf(const DialogTemplate& dialog, HWND owner) {
  const RECT insets = FrameInsets(dialog.style, dialog.extendedStyle);
  const LONG width = ToPixelsX(dialog.width) + insets.left + insets.right;
  const LONG height = ToPixelsY(dialog.height) + insets.top + insets.bottom;
  RECT area = ScreenArea();
  POINT origin{};
  if (owner && owner != GetDesktopWindow()) {
    GetWindowRect(owner, &area);
    ClientToScreen(owner, &origin);
  }
  POINT corner{origin.x + ToPixelsX(dialog.x), origin.y + ToPixelsY(dialog.y)};
  if (dialog.style & DS_CENTER) {
    corner = {(area.left + area.right - width) / 2, (area.top + area.bottom - height) / 2};
  }
  return {corner.x, corner.y, corner.x + width, corner.y + height};
}

std::shared_ptr<Window> MakeControl(const Window& dialog, const DialogItem& item) {
  auto control = std::make_shared<Window>();
  control->className = item.className;
  control->procedure = FindControlClass(item.className);
  control->queue = dialog.queue;
  control->parent = dialog.handle;
  control->id = item.id;
  control->module = dialog.module;
  control->text = item.text;
  control->style = item.style | WS_CHILD;
  control->extendedStyle = item.extendedStyle;
  control->rect = {ToPixelsX(item.x), ToPixelsY(item.y), ToPixelsX(item.x + item.width),
                   ToPixelsY(item.y + item.height)};
  control->insets = FrameInsets(control->style, control->extendedStyle);
  control->font = dialog.font;
  if (item.textNumber != 0 && (item.style & SS_TYPEMASK) == SS_ICON) {
    control->image = LoadIconW(dialog.module, MAKEINTRESOURCEW(item.textNumber));
  }
  return control;
}

bool HasAllClasses(const DialogTemplate& dialog) {
  return std::all_of(dialog.items.begin(), dialog.items.end(),
                     [](const DialogItem& item) { return FindControlClass(item.className) != nullptr; });
}

/// The dialog and its controls, before anybody hears of it.
HWND MakeDialog(HINSTANCE module, const DialogTemplate& dialog, HWND owner, DLGPROC procedure) {
  auto window = std::make_shared<Window>();
  window->className = u"#32770";
  window->procedure = DialogProcedure;
  window->queue = CurrentQueue();
  window->module = module;
  window->text = dialog.title;
  window->style = dialog.style & ~WS_VISIBLE;
  window->extendedStyle = dialog.extendedStyle | (dialog.style & DS_MODALFRAME ? WS_EX_DLGMODALFRAME : 0);
  if (!(window->style & WS_CHILD)) {
    window->owner = owner == GetDesktopWindow() ? nullptr : owner;
  } else {
    window->parent = owner;
  }
  window->rect = PlaceOf(dialog, owner);
  window->insets = FrameInsets(window->style, window->extendedStyle);
  window->dialogProcedure = procedure;
  window->font = dialog.style & DS_SETFONT ? FontOf(dialog.fontFace, dialog.fontSize) : nullptr;
  std::vector<std::shared_ptr<Window>> controls;
  std::lock_guard lock(WindowLock());
  WindowTree::Get().Add(window);
  for (const DialogItem& item : dialog.items) {
    const auto control = MakeControl(*window, item);
    WindowTree::Get().Add(control);
    const bool isDefault = item.className == ControlClassName(0x80) && (item.style & BS_TYPEMASK) == BS_DEFPUSHBUTTON;
    if (isDefault && window->defaultId == 0) window->defaultId = item.id;
  }
  return window->handle;
}

/// The next control that the focus may go to; null without one.
HWND NextTabStop(HWND dialog, HWND after) {
  std::lock_guard lock(WindowLock());
  const auto window = WindowTree::Get().Find(dialog);
  if (!window || window->children.empty()) return nullptr;
  const auto& children = window->children;
  const auto place = std::find(children.begin(), children.end(), after);
  const auto start = place == children.end() ? 0 : static_cast<std::size_t>(place - children.begin()) + 1;
  for (std::size_t i = 0; i < children.size(); ++i) {
    const HWND child = children[(start + i) % children.size()];
    const auto control = WindowTree::Get().Find(child);
    const DWORD wanted = WS_TABSTOP | WS_VISIBLE;
    if (control && (control->style & wanted) == wanted && !(control->style & WS_DISABLED)) return child;
  }
  return nullptr;
}

bool IsDialogOver(const std::shared_ptr<Window>& window) {
  std::lock_guard lock(WindowLock());
  return window->ended || !WindowTree::Get().Find(window->handle);
}

/// Serves messages until the dialog ends. The end of the program, asked for meanwhile, is left to whoever called.
void RunModalLoop(const std::shared_ptr<Window>& window) {
  MSG message;
  const auto over = [&] { return window->ended || !WindowTree::Get().Find(window->handle); };
  while (WaitForMessage({}, &message, over)) {
    if (message.message == WM_QUIT) {
      PostQuitMessage(static_cast<int>(message.wParam));
      return;
    }
    if (!IsDialogMessageW(window->handle, &message)) {
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
  }
}

void PressDefault(HWND dialog) {
  int id = 0;
  HWND button = DefaultButton(dialog, &id);
  const HWND focus = GetFocus();
  if (focus && GetParent(focus) == dialog &&
      (SendMessageW(focus, WM_GETDLGCODE, 0, 0) & (DLGC_DEFPUSHBUTTON | DLGC_UNDEFPUSHBUTTON))) {
    button = focus;
    id = GetDlgCtrlID(focus);
  }
  if (button && !IsWindowEnabled(button)) return;
  SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(button));
}

}  // namespace

HWND CreateDialogOf(HINSTANCE module, const DialogTemplate& dialog, HWND owner, DLGPROC procedure, LPARAM parameter) {
  if (!HasAllClasses(dialog)) {
    SetLastError(ERROR_CANNOT_FIND_WND_CLASS);
    return nullptr;
  }
  if (owner && !IsWindow(owner)) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return nullptr;
  }
  const HWND handle = MakeDialog(module, dialog, owner, procedure);
  const auto window = FindWindowOf(handle);
  SendMessageW(handle, WM_SETFONT, reinterpret_cast<WPARAM>(window->font), FALSE);
  const HWND first = NextTabStop(handle, nullptr);
  const bool setsFocus = SendMessageW(handle, WM_INITDIALOG, reinterpret_cast<WPARAM>(first), parameter) != 0;
  if (!IsWindow(handle)) return nullptr;
  if (setsFocus && first && IsWindow(first)) SetFocus(first);
  if (dialog.style & WS_VISIBLE && !IsDialogOver(window)) ShowWindow(handle, SW_SHOWNORMAL);
  return handle;
}

INT_PTR RunDialogOf(HINSTANCE module, const DialogTemplate& dialog, HWND owner, DLGPROC procedure, LPARAM parameter) {
  DialogTemplate hidden = dialog;
  hidden.style &= ~WS_VISIBLE;
  // The owner is out of reach before the dialog hears of itself.
  if (owner == GetDesktopWindow()) owner = nullptr;
  const bool disabled = owner && IsWindowEnabled(owner);
  if (disabled) EnableWindow(owner, FALSE);
  const HWND handle = CreateDialogOf(module, hidden, owner, procedure, parameter);
  const auto window = handle ? FindWindowOf(handle) : nullptr;
  if (window && !IsDialogOver(window)) {
    ShowWindow(handle, SW_SHOWNORMAL);
    RunModalLoop(window);
  }
  if (disabled) EnableWindow(owner, TRUE);
  if (!window) return -1;
  DestroyWindow(handle);
  if (disabled && IsWindowVisible(owner)) SetForegroundWindow(owner);
  return window->result;
}

}  // namespace portwise::platform

using namespace portwise::platform;

HWND WINAPI CreateDialogIndirectParamW(HINSTANCE module, LPCDLGTEMPLATEW dialog, HWND owner, DLGPROC procedure,
                                       LPARAM parameter) {
  if (!dialog) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  return CreateDialogOf(module, ReadDialogTemplate(dialog), owner, procedure, parameter);
}

INT_PTR WINAPI DialogBoxIndirectParamW(HINSTANCE module, LPCDLGTEMPLATEW dialog, HWND owner, DLGPROC procedure,
                                       LPARAM parameter) {
  if (!dialog) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return -1;
  }
  return RunDialogOf(module, ReadDialogTemplate(dialog), owner, procedure, parameter);
}

BOOL WINAPI EndDialog(HWND dialog, INT_PTR result) {
  {
    std::lock_guard lock(WindowLock());
    const auto window = WindowTree::Get().Find(dialog);
    if (!window) return FALSE;
    window->ended = true;
    window->result = result;
    window->queue->Signal();
  }
  ShowWindow(dialog, SW_HIDE);
  return TRUE;
}

BOOL WINAPI IsDialogMessageW(HWND dialog, LPMSG message) {
  {
    std::lock_guard lock(WindowLock());
    if (!WindowTree::Get().IsWithin(message->hwnd, dialog)) return FALSE;
  }
  if (message->message == WM_KEYDOWN) {
    switch (message->wParam) {
      case VK_TAB:
        SetFocus(NextTabStop(dialog, GetFocus()));
        return TRUE;
      case VK_RETURN:
        PressDefault(dialog);
        return TRUE;
      case VK_ESCAPE: {
        const HWND cancel = GetDlgItem(dialog, IDCANCEL);
        if (cancel && !IsWindowEnabled(cancel)) return TRUE;
        SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), reinterpret_cast<LPARAM>(cancel));
        return TRUE;
      }
      default:
        break;
    }
  }
  TranslateMessage(message);
  DispatchMessageW(message);
  return TRUE;
}

HWND WINAPI GetDlgItem(HWND dialog, int id) {
  std::lock_guard lock(WindowLock());
  const auto window = WindowTree::Get().Find(dialog);
  if (!window) return nullptr;
  for (const HWND child : window->children) {
    if (WindowTree::Get().Find(child)->id == id) return child;
  }
  SetLastError(ERROR_CONTROL_ID_NOT_FOUND);
  return nullptr;
}

int WINAPI GetDlgCtrlID(HWND control) {
  const auto window = FindWindowOf(control);
  return window ? static_cast<int>(window->id) : 0;
}

BOOL WINAPI SetDlgItemTextW(HWND dialog, int id, LPCWSTR text) {
  const HWND control = GetDlgItem(dialog, id);
  return control && SetWindowTextW(control, text);
}

UINT WINAPI GetDlgItemTextW(HWND dialog, int id, LPWSTR text, int size) {
  if (text && size > 0) *text = 0;
  const HWND control = GetDlgItem(dialog, id);
  return control ? static_cast<UINT>(GetWindowTextW(control, text, size)) : 0;
}

LRESULT WINAPI SendDlgItemMessageW(HWND dialog, int id, UINT message, WPARAM wParam, LPARAM lParam) {
  const HWND control = GetDlgItem(dialog, id);
  return control ? SendMessageW(control, message, wParam, lParam) : 0;
}
