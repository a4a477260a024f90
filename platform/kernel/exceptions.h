#pragma once

#include <windows.h>

namespace portwise::platform {

/// Offers an exception to the vectored handlers: EXCEPTION_CONTINUE_EXECUTION when one of them took it. Safe in signal
/// handlers.
LONG CallVectoredHandlers(EXCEPTION_POINTERS* pointers);

/// Takes the signals of processor faults over, once; called when the first vectored handler is added.
void InstallFaultSignals();

}  // namespace portwise::platform
