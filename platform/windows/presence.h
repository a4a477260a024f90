#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace portwise::platform {

/// Each process that has windows has a place in its home: a number, which is the upper half of its window handles, and
/// a socket of that name in the home's folder "windows", at which other processes of the same user ask. The kernel
/// closes the socket when the process ends in whatever way, and with that its windows are gone for all others. Numbers
/// are not given out again soon.

/// A handle that no window has, with the calling process's place, which is taken when it is first asked for and anew
/// when the home has changed. A process that cannot have a place has windows that nobody else reaches.
HWND NextWindowHandle();

/// The place in a window handle, and the calling process's own; 0 before it has one in the home as it is now.
unsigned PlaceOf(HWND window);
unsigned OwnPlace();

/// The places that are taken, also by processes that ended without leaving theirs.
std::vector<unsigned> Places();

}  // namespace portwise::platform
