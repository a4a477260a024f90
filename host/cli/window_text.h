#pragma once

#include <string>
#include <vector>

#include "platform/windows/inspect.h"

namespace portwise {

/// What a process shows, as lines of text: its visible windows with their controls from top to bottom, the menu that is
/// open with a number before each item that can be chosen, and its notification icons.
std::vector<std::string> TextOf(const platform::ProcessView& process);

/// The items of a menu that can be chosen, submenus' behind their own, in the order of their numbers, which begin at 1.
std::vector<platform::MenuItemView> Choices(const std::vector<platform::MenuItemView>& items);

/// The buttons of a window that can be pressed, in the order in which the text shows them.
std::vector<platform::WindowView> Buttons(const platform::WindowView& window);

}  // namespace portwise
