#pragma once

#include <windows.h>

/// Runs `function(body)` for somebody who catches whatever it throws, and returns its result. Core knows these
/// functions by their names.
extern "C" BOOL PortwiseCallForCatcher(BOOL (*function)(void* body), void* body);

/// The innermost such call on the calling thread, as the stack pointer behind it; null when there is none. It tells a
/// fault whether an exception would have to pass the dynamic loader on its way. Safe in signal handlers.
extern "C" const void* PortwiseCatcher();
