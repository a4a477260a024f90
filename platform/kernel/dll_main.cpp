// Compiled into each shared library that has a DllMain, as its last source file: static objects are made in the order
// of the link and destroyed in the reverse order, and DllMain may rely on the library's own static objects both times.

#include <windows.h>

#include "platform/kernel/dll_entry.h"

// Hidden, so that each library calls its own.
extern "C" __attribute__((visibility("hidden"))) BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved);

namespace {

struct ProcessAttachment {
  ProcessAttachment() { portwise::platform::RegisterDllMain(DllMain); }
  ~ProcessAttachment() { portwise::platform::UnregisterDllMain(DllMain); }
} processAttachment;

}  // namespace
