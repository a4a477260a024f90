#pragma once

#include <windows.h>

#include <string_view>

namespace portwise::platform {

/// The procedure of a class of controls, by its name in any case: static, button, edit, and the progress bar once the
/// common controls are there. Null for other names.
WNDPROC FindControlClass(std::u16string_view name);

/// The name of a class that a template names by a number; empty for other numbers.
std::u16string_view ControlClassName(WORD number);

/// Whether the mouse goes through a control to the window below it, as through those that only show something.
struct Window;
bool LetsMouseThrough(const Window& control);

}  // namespace portwise::platform
