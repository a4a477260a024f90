#pragma once

#include <windows.h>

#include <string>

namespace portwise::test {

/// What is wrong with the layout of a dialog: controls that lie over each other or outside, and texts that are cut off.
/// A text that ends in an ellipsis when it is too long may be cut.
std::wstring LayoutFaults(HWND dialog);

}  // namespace portwise::test
