#pragma once

#include <windows.h>

#include <ctime>

namespace portwise::platform {

/// Ticks of 100 ns since the beginning of 1601, as Windows counts them, and the same moment here. Times that the other
/// side does not have become its first or last one.
LONGLONG TicksOf(const FILETIME& time);
FILETIME FileTimeOf(LONGLONG ticks);
FILETIME FileTimeOf(const timespec& time);
timespec TimespecOf(const FILETIME& time);

}  // namespace portwise::platform
