#pragma once

#include <windows.h>

/// The tests' own functions in place of those of system libraries: a test program that defines the place in which an
/// import is found does not import it. Only the program's own code calls them, not the libraries that it loads.
#ifdef __i386__
#define PORTWISE_IMPORT(name, bytes) asm("__imp__" #name "@" #bytes)
#else
#define PORTWISE_IMPORT(name, bytes) asm("__imp_" #name)
#endif

namespace portwise::platform {

/// The system's own function of that name.
FARPROC SystemFunction(const wchar_t* module, const char* name);

template <class Function>
Function* SystemFunctionAs(const wchar_t* module, const char* name) {
  return reinterpret_cast<Function*>(reinterpret_cast<void*>(SystemFunction(module, name)));
}

/// Forgets what this process has reported to the event log.
void ClearEvents();

}  // namespace portwise::platform
