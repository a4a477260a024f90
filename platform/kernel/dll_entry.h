#pragma once

#include <windows.h>

namespace portwise::platform {

using DllEntry = BOOL(WINAPI*)(HINSTANCE instance, DWORD reason, LPVOID reserved);

/// Calls `entry` with DLL_PROCESS_ATTACH, and from then on with DLL_THREAD_DETACH at the end of threads. When it
/// returns FALSE or throws, the library is not registered, and LoadLibraryW fails with ERROR_DLL_INIT_FAILED. Called by
/// the ELF constructor of the library that `entry` lies in.
void RegisterDllMain(DllEntry entry);

/// Undoes RegisterDllMain and calls `entry` with DLL_PROCESS_DETACH; the reserved argument is null under FreeLibrary
/// and not null when the process ends. What it throws ends here. Does nothing for an entry that is not registered.
/// Called by the ELF destructor.
void UnregisterDllMain(DllEntry entry);

/// Calls the registered entries with DLL_THREAD_DETACH, the last loaded first; once a thread at most. Libraries stay
/// loaded while they are being called.
void DetachThread();

/// Whether an attach call on this thread has failed since the last call of this function.
bool TakeAttachFailure();

/// While one exists, unregistering on this thread means that a library is being freed.
class FreeingLibrary {
 public:
  FreeingLibrary();
  ~FreeingLibrary();
  FreeingLibrary(const FreeingLibrary&) = delete;
  FreeingLibrary& operator=(const FreeingLibrary&) = delete;
};

}  // namespace portwise::platform
