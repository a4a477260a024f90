#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

namespace portwise::platform {

struct MenuItem {
  UINT id = 0;
  std::u16string text;  // empty for a separator
  HMENU submenu = nullptr;
  bool separator = false, grayed = false, checked = false, isDefault = false;
};

/// The items of a menu; nothing when there is no such menu. Any thread.
std::optional<std::vector<MenuItem>> ItemsOf(HMENU menu);

/// The menu that is being shown by this process.
struct ShownMenu {
  HMENU menu = nullptr;
  HWND window = nullptr;
  int x = 0, y = 0;
};
/// With the windows' lock; nothing when none is shown.
std::optional<ShownMenu> MenuShown();

/// Chooses an item of the menu that is shown for the window, or of a submenu of it; false when none is shown, or it has
/// no such item that can be chosen. 0 dismisses the menu.
bool ChooseItem(HWND window, UINT id);

}  // namespace portwise::platform
