#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

/// The eyes and hands of whoever sits in front of the screen that is not there: tests and the command line. Reads the
/// windows of this process and of the others of its home, and does with them what a person would. Texts are UTF-8, and
/// places are those on the screen. Any thread; never wait inside a window procedure for what a window does.
namespace portwise::platform {

struct WindowView {
  HWND handle = nullptr;
  std::string className;  ///< "#32770" is a dialog
  int id = 0;             ///< of a control
  std::string text;
  RECT rect{}, client{};
  DWORD style = 0, extendedStyle = 0;
  bool visible = false;  ///< with all above it
  bool enabled = false, minimized = false;
  int icon = 0, smallIcon = 0;          ///< resource numbers of what WM_SETICON gave
  int image = 0;                        ///< resource number of a static control's icon
  int low = 0, high = 0, position = 0;  ///< of a progress bar
  std::vector<WindowView> children;

  /// The control with that number; null without one.
  const WindowView* Control(int controlId) const;
};

struct MenuItemView {
  UINT id = 0;
  std::string text;
  bool separator = false, enabled = true, checked = false, isDefault = false;
  std::vector<MenuItemView> items;  ///< of a submenu
};

/// A menu that is shown.
struct MenuView {
  HWND window = nullptr;
  int x = 0, y = 0;
  std::vector<MenuItemView> items;
};

struct NotificationIconView {
  HWND window = nullptr;
  UINT id = 0;
  int icon = 0;  ///< resource number
  std::string tip;
};

struct ProcessView {
  DWORD process = 0;
  std::vector<WindowView> windows;  ///< those that are no children, the foremost first
  std::optional<MenuView> menu;
  std::vector<NotificationIconView> icons;

  const WindowView* Window(HWND handle) const;
};

/// The windows of this process, and of all that live in the home.
ProcessView OwnWindows();
std::vector<ProcessView> AllWindows();

/// The process of a window, as it is now; nothing when the window has gone.
std::optional<ProcessView> ProcessOf(HWND window);

/// What a person does. It is done when the window's thread has come round to it. False when it cannot be done, such as
/// pressing what is disabled or hidden.
enum class Action {
  Press,       ///< the control with the number `argument` of a dialog
  ChooseItem,  ///< the item with the number `argument` of the menu that is shown for the window; 0 dismisses the menu
  ClickIcon,   ///< the window's notification icon
  DoubleClickIcon,
  RightClickIcon,
  MouseDown,  ///< of the left button, where the cursor is; whoever has captured the mouse hears of it
  MouseMove,
  MouseUp,
  RightMouseDown,
  RightMouseUp,
  Key,        ///< down and up, with the virtual-key code `argument`, where the focus is or in the window
  Character,  ///< typed where the focus is, as a UTF-16 unit
  Close,      ///< by the title bar
  Minimize,
  EndSession,  ///< asks, tells with `argument` as the ENDSESSION_ flags, and waits; false when the window refuses
};
bool Do(Action action, HWND window, UINT argument = 0);

/// The same, for a window of this process.
bool DoAction(Action action, HWND window, UINT argument);

/// Moves the cursor to a place on the screen and does it there.
bool DoAt(Action action, HWND window, int x, int y);

/// Whether message boxes are shown in this process, and its window station counts as visible: somebody is there to
/// answer them. Not so until it is said.
void SetInteractive(bool interactive);

/// The commands that processes of the home have started with CreateProcessW, the latest hundred, the oldest first.
struct StartedCommand {
  std::string commandLine;
  int show = SW_SHOWNORMAL;
};
std::vector<StartedCommand> StartedCommands();

}  // namespace portwise::platform
