#pragma once

#include <windows.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/windows/message_queue.h"

namespace portwise::platform {

/// A window of this process. Members are used under the lock; what never changes may be read without it by whoever
/// holds the window.
struct Window {
  HWND handle;
  std::u16string className;
  WNDPROC procedure;
  std::shared_ptr<MessageQueue> queue;  // of the thread that it belongs to
  HWND parent = nullptr;                // of a child
  HWND owner = nullptr;                 // of another
  LONG_PTR id = 0;
  HINSTANCE module = nullptr;

  std::u16string text;
  DWORD style = 0, extendedStyle = 0;
  RECT rect{};      // of a child in its parent's client area, otherwise on the screen
  RECT insets{};    // what the frame takes on each side; worked out anew when the frame changes, and not before
  RECT restored{};  // of a minimized window
  std::vector<HWND> children;

  bool destroying = false;

  HFONT font = nullptr;
  HICON icon = nullptr, smallIcon = nullptr, image = nullptr;
  LONG_PTR userData = 0;
  std::map<std::u16string, HANDLE> properties;

  // Of a dialog.
  DLGPROC dialogProcedure = nullptr;
  LONG_PTR dialogResult = 0, dialogUser = 0;
  int defaultId = 0;
  bool ended = false;  // EndDialog was called
  INT_PTR result = 0;

  // Of a progress bar.
  int low = 0, high = 100, position = 0;

  bool IsChild() const { return (style & WS_CHILD) != 0; }
};

/// The windows of this process. Under the lock, unless said otherwise.
class WindowTree {
 public:
  static WindowTree& Get();

  /// Null, with the last error set, when it is none of this process.
  std::shared_ptr<Window> Find(HWND handle) const;
  bool Has(HWND handle) const { return windows_.contains(handle); }
  /// Gives it its handle and its place, in front of the others of its kind. Children go behind their siblings.
  void Add(const std::shared_ptr<Window>& window);
  void Remove(HWND handle);
  /// Those of a thread that ends.
  void RemoveOf(const MessageQueue& queue);
  /// Those that are no children, the foremost first.
  const std::vector<HWND>& TopLevel() const { return topLevel_; }
  void BringToFront(HWND handle, bool toBack = false);

  /// The window itself or one above it is `ancestor`.
  bool IsWithin(HWND handle, HWND ancestor) const;
  bool IsVisible(HWND handle) const;
  /// The position of the client area's origin on the screen.
  POINT ClientOrigin(const Window& window) const;
  RECT ScreenRect(const Window& window) const;

 private:
  std::map<HWND, std::shared_ptr<Window>> windows_;
  std::vector<HWND> topLevel_;
};

/// The window under the lock, which is then released; null, with the last error set, when it is none of this process.
std::shared_ptr<Window> FindWindowOf(HWND handle);

/// The procedure's answer; nothing when the window has gone. On the window's thread, without the lock.
std::optional<LRESULT> CallWindow(HWND handle, UINT message, WPARAM wParam = 0, LPARAM lParam = 0);

/// What frame and title bar take of a window with these styles.
RECT FrameInsets(DWORD style, DWORD extendedStyle);
/// The client area, from 0 on.
RECT ClientRect(const Window& window);

}  // namespace portwise::platform
