#pragma once

#include <windows.h>

namespace portwise {

/// Starts a thread of the library's own that nobody waits for. It keeps the library loaded until its last step. `body`
/// lets nothing escape. `stack` is all that the thread's stack may grow to, in bytes; 0 leaves that to the system.
/// False when the system refuses.
bool StartDetachedThread(void (*body)(void*), void* context, SIZE_T stack = 0);

}  // namespace portwise
