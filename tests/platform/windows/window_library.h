#pragma once

#include <windows.h>

/// What the window of the test library understands.
inline constexpr UINT kAskBack = WM_USER + 10;  ///< wParam levels deep, lParam the window to ask
inline constexpr UINT kSleep = WM_USER + 11;    ///< wParam milliseconds, without serving messages
