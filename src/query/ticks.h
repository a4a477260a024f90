#pragma once

#include <windows.h>

#include <algorithm>

namespace portwise {

/// Moments in milliseconds of GetTickCount, which starts anew after 49 days: only differences tell anything. A moment
/// lies at most 24 days before or after now; 0 stands for none.

/// The furthest moment ahead, 12 days: even seen from some time ago, it still lies ahead.
constexpr DWORD kFurthestTick = 0x3FFFFFFF;

/// The moment that comes `milliseconds` from now, or the furthest one.
inline DWORD TickAfter(DWORD milliseconds) {
  const DWORD tick = GetTickCount() + std::min(milliseconds, kFurthestTick);
  return tick != 0 ? tick : 1;
}

/// How long it is until the moment; 0 when it has come.
inline DWORD TimeUntil(DWORD now, DWORD tick) {
  const DWORD left = tick - now;
  return left <= 0x7FFFFFFF ? left : 0;
}

}  // namespace portwise
