// Compiled into each shared library that has a DllMain, as its last source file: constructors run in the order of the
// link, and DllMain may rely on the library's own static objects.

#include <windows.h>

#include "platform/kernel/dll_entry.h"

// Hidden, so that each library calls its own.
extern "C" __attribute__((visibility("hidden"))) BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved);

namespace {

__attribute__((constructor)) void AttachProcess() { portwise::platform::RegisterDllMain(DllMain); }
__attribute__((destructor)) void DetachProcess() { portwise::platform::UnregisterDllMain(DllMain); }

}  // namespace
