#include "platform/windows/controls.h"

#include <commctrl.h>

#include <algorithm>
#include <atomic>

#include "platform/kernel/fail.h"
#include "platform/text.h"
#include "platform/windows/window.h"

namespace portwise::platform {
namespace {

std::atomic<bool> hasProgressBars = false;

/// What all controls do alike.
LRESULT ControlProcedure(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
  std::unique_lock lock(WindowLock());
  const auto window = WindowTree::Get().Find(handle);
  if (!window) return 0;
  if (message == WM_SETFONT) {
    window->font = reinterpret_cast<HFONT>(wParam);
    return 0;
  }
  if (message == WM_GETFONT) return reinterpret_cast<LRESULT>(window->font);
  lock.unlock();
  return DefWindowProcW(handle, message, wParam, lParam);
}

/// Tells the parent, as controls do.
void Notify(HWND handle, UINT code) {
  const auto window = FindWindowOf(handle);
  if (!window || !window->parent) return;
  SendMessageW(window->parent, WM_COMMAND, MAKEWPARAM(window->id, code), reinterpret_cast<LPARAM>(handle));
}

LRESULT CALLBACK StaticProcedure(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_GETDLGCODE:
      return DLGC_STATIC;
    case STM_SETICON:
    case STM_GETICON: {
      std::lock_guard lock(WindowLock());
      const auto window = WindowTree::Get().Find(handle);
      if (!window) return 0;
      const HICON before = window->image;
      if (message == STM_SETICON) window->image = reinterpret_cast<HICON>(wParam);
      return reinterpret_cast<LRESULT>(before);
    }
    default:
      break;
  }
  return ControlProcedure(handle, message, wParam, lParam);
}

LRESULT CALLBACK ButtonProcedure(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
  const auto window = FindWindowOf(handle);
  const DWORD type = window ? window->style & BS_TYPEMASK : BS_GROUPBOX;
  switch (message) {
    case WM_GETDLGCODE:
      if (type == BS_GROUPBOX) return DLGC_STATIC;
      return type == BS_DEFPUSHBUTTON ? DLGC_DEFPUSHBUTTON : DLGC_UNDEFPUSHBUTTON;
    case WM_LBUTTONUP:
    case BM_CLICK:
      if (type != BS_GROUPBOX && IsWindowEnabled(handle)) Notify(handle, BN_CLICKED);
      return 0;
    case WM_KEYDOWN:
      if (wParam == VK_SPACE) SendMessageW(handle, BM_CLICK, 0, 0);
      return 0;
    default:
      break;
  }
  return ControlProcedure(handle, message, wParam, lParam);
}

LRESULT CALLBACK EditProcedure(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_GETDLGCODE) return DLGC_HASSETSEL;
  if (message == WM_CHAR) {
    // What is typed goes behind the text.
    constexpr WPARAM kBackspace = 8;
    const auto window = FindWindowOf(handle);
    if (!window) return 0;
    std::u16string text = window->text;
    if (wParam != kBackspace) {
      text += static_cast<WCHAR>(wParam);
    } else if (!text.empty()) {
      text.pop_back();
    }
    SendMessageW(handle, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str()));
    return 0;
  }
  const LRESULT result = ControlProcedure(handle, message, wParam, lParam);
  if (message == WM_SETTEXT) Notify(handle, EN_CHANGE);
  return result;
}

LRESULT ObeyProgress(Window& window, UINT message, WPARAM wParam, LPARAM lParam) {
  const int before = window.position;
  const int low = window.low, high = window.high;
  switch (message) {
    case PBM_SETRANGE:
      window.low = LOWORD(lParam);
      window.high = HIWORD(lParam);
      break;
    case PBM_SETRANGE32:
      window.low = static_cast<int>(wParam);
      window.high = static_cast<int>(lParam);
      break;
    case PBM_SETPOS:
      window.position = static_cast<int>(wParam);
      break;
    case PBM_GETRANGE:
      if (auto* range = reinterpret_cast<PBRANGE*>(lParam)) *range = {low, high};
      return wParam ? low : high;
    default:
      return before;
  }
  if (window.low > window.high) window.high = window.low;
  window.position = std::clamp(window.position, window.low, window.high);
  return message == PBM_SETPOS ? before : MAKELRESULT(low, high);
}

LRESULT CALLBACK ProgressProcedure(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_GETDLGCODE:
      return DLGC_STATIC;
    case PBM_SETRANGE:
    case PBM_SETRANGE32:
    case PBM_SETPOS:
    case PBM_GETPOS:
    case PBM_GETRANGE: {
      std::lock_guard lock(WindowLock());
      const auto window = WindowTree::Get().Find(handle);
      return window ? ObeyProgress(*window, message, wParam, lParam) : 0;
    }
    default:
      return ControlProcedure(handle, message, wParam, lParam);
  }
}

struct ControlClass {
  std::u16string_view name;
  WORD number;  // in templates; 0 for none
  WNDPROC procedure;
};
constexpr ControlClass kClasses[] = {
    {u"Button", 0x80, ButtonProcedure},
    {u"Edit", 0x81, EditProcedure},
    {u"Static", 0x82, StaticProcedure},
    {u"msctls_progress32", 0, ProgressProcedure},
};

}  // namespace

WNDPROC FindControlClass(std::u16string_view name) {
  for (const ControlClass& row : kClasses) {
    if (FoldCase(row.name) != FoldCase(name)) continue;
    return row.procedure == ProgressProcedure && !hasProgressBars ? nullptr : row.procedure;
  }
  return nullptr;
}

bool LetsMouseThrough(const Window& control) {
  if (control.procedure == StaticProcedure) return !(control.style & SS_NOTIFY);
  return control.procedure == ButtonProcedure && (control.style & BS_TYPEMASK) == BS_GROUPBOX;
}

std::u16string_view ControlClassName(WORD number) {
  for (const ControlClass& row : kClasses) {
    if (row.number != 0 && row.number == number) return row.name;
  }
  return {};
}

}  // namespace portwise::platform

using namespace portwise::platform;

BOOL WINAPI InitCommonControlsEx(const INITCOMMONCONTROLSEX* controls) {
  if (!controls || controls->dwSize != sizeof *controls) return Fail(ERROR_INVALID_PARAMETER);
  if (controls->dwICC & ICC_PROGRESS_CLASS) hasProgressBars = true;
  return TRUE;
}

void WINAPI InitCommonControls() { hasProgressBars = true; }
