#include <map>
#include <string>

#include "platform/kernel/fail.h"
#include "platform/text.h"
#include "platform/windows/desktop.h"
#include "platform/windows/presence.h"
#include "platform/windows/remote_windows.h"
#include "platform/windows/window.h"

namespace portwise::platform {
namespace {

MSG MessageOf(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  return {window, message, wParam, lParam, GetTickCount(), CursorPosition()};
}

std::optional<LRESULT> Send(HWND handle, UINT message, WPARAM wParam, LPARAM lParam, DWORD timeout) {
  if (IsRemote(handle)) return RemoteSend(handle, message, wParam, lParam, timeout);
  const auto window = FindWindowOf(handle);
  if (!window) return std::nullopt;
  return RunOn(
      window->queue, [=] { return CallWindow(handle, message, wParam, lParam); }, timeout);
}

}  // namespace
}  // namespace portwise::platform

using namespace portwise::platform;

BOOL WINAPI GetMessageW(LPMSG message, HWND window, UINT first, UINT last) {
  WaitForMessage({window, first, last}, message);
  return message->message != WM_QUIT;
}

BOOL WINAPI PeekMessageW(LPMSG message, HWND window, UINT first, UINT last, UINT remove) {
  const auto queue = CurrentQueue();
  RunSentCalls(*queue);
  std::lock_guard lock(WindowLock());
  return queue->Take({window, first, last}, (remove & PM_REMOVE) != 0, message);
}

BOOL WINAPI TranslateMessage(const MSG* message) {
  const bool isKey = message->message == WM_KEYDOWN || message->message == WM_KEYUP;
  return isKey;
}

LRESULT WINAPI DispatchMessageW(const MSG* message) {
  if (message->message == WM_TIMER && message->lParam != 0) {
    const auto procedure = reinterpret_cast<TIMERPROC>(message->lParam);
    procedure(message->hwnd, WM_TIMER, message->wParam, GetTickCount());
    return 0;
  }
  return CallWindow(message->hwnd, message->message, message->wParam, message->lParam).value_or(0);
}

BOOL WINAPI PostMessageW(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
  if (IsRemote(handle)) return RemotePost(handle, message, wParam, lParam);
  const MSG posted = MessageOf(handle, message, wParam, lParam);
  const auto own = handle ? nullptr : CurrentQueue();
  std::lock_guard lock(WindowLock());
  if (own) return own->Post(posted);
  const auto window = WindowTree::Get().Find(handle);
  if (!window) return FALSE;
  return window->queue->Post(posted) || Fail(ERROR_NOT_ENOUGH_MEMORY);
}

LRESULT WINAPI SendMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  return Send(window, message, wParam, lParam, INFINITE).value_or(0);
}

LRESULT WINAPI SendMessageTimeoutW(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT, UINT timeout,
                                   DWORD_PTR* result) {
  const auto answer = Send(window, message, wParam, lParam, timeout);
  if (result) *result = static_cast<DWORD_PTR>(answer.value_or(0));
  return answer ? 1 : 0;
}

void WINAPI PostQuitMessage(int code) {
  const auto queue = CurrentQueue();
  std::lock_guard lock(WindowLock());
  queue->PostQuit(code);
}

UINT WINAPI RegisterWindowMessageW(LPCWSTR name) {
  if (!name || !*name) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  return RegisteredMessage(FoldCase(name));
}

UINT_PTR WINAPI SetTimer(HWND window, UINT_PTR id, UINT milliseconds, TIMERPROC procedure) {
  const auto queue = CurrentQueue();
  std::lock_guard lock(WindowLock());
  if (!window) return queue->SetTimer(nullptr, id, milliseconds, procedure);
  const auto found = WindowTree::Get().Find(window);
  return found ? found->queue->SetTimer(window, id, milliseconds, procedure) : 0;
}

BOOL WINAPI KillTimer(HWND window, UINT_PTR id) {
  const auto queue = CurrentQueue();
  std::lock_guard lock(WindowLock());
  const auto found = window ? WindowTree::Get().Find(window) : nullptr;
  if (window && !found) return FALSE;
  return (found ? found->queue : queue)->KillTimer(window, id) || Fail(ERROR_INVALID_PARAMETER);
}
