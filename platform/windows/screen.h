#pragma once

#include <windows.h>

namespace portwise::platform {

// The screen that nobody sees, and the one size that characters have on it.
inline constexpr LONG kScreenWidth = 1024, kScreenHeight = 768;
inline constexpr int kCharacterWidth = 8, kCharacterHeight = 16;

inline RECT ScreenArea() { return {0, 0, kScreenWidth, kScreenHeight}; }

}  // namespace portwise::platform
