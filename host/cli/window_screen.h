#pragma once

#include <atomic>

namespace portwise {

enum class WayToClose {
  TitleBar,  ///< as a person closes a window, which may only hide it
  ForGood,   ///< with the message of status windows that ends them
};

/// Shows the windows of this process until `over`: on a terminal in one place, with keys that press, choose, hide and
/// close; elsewhere each line when it is new. Interruption closes them; a second one ends the program.
void ShowWindows(const std::atomic<bool>& over, WayToClose close);

}  // namespace portwise
