#include "platform/kernel/dll_entry.h"

#include <dlfcn.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/kernel/catcher.h"
#include "platform/kernel/images.h"

namespace portwise::platform {
namespace {

struct Dll {
  DllEntry entry;
  HINSTANCE instance;
  std::string path;
  bool stays;  // until the program ends
};

struct Registry {
  std::mutex mutex;
  std::vector<Dll> dlls;
};

Registry& Dlls() {
  static auto& registry = *new Registry;
  return registry;
}

// Of plain types, so that they can be used while the thread's other thread-local objects are already gone.
thread_local bool attachFailed = false;
thread_local bool threadDetached = false;
thread_local int freeing = 0;

auto FindEntry(std::vector<Dll>& dlls, DllEntry entry) {
  return std::find_if(dlls.begin(), dlls.end(), [entry](const Dll& dll) { return dll.entry == entry; });
}

bool IsRegistered(DllEntry entry) {
  std::lock_guard lock(Dlls().mutex);
  return FindEntry(Dlls().dlls, entry) != Dlls().dlls.end();
}

struct Call {
  DllEntry entry;
  HINSTANCE instance;
  DWORD reason;
  LPVOID reserved;
};

/// The dynamic loader makes these calls, and must not be passed by what they throw. FALSE when they threw something.
BOOL CallFromLoader(Call call) {
  const auto run = [](void* body) {
    const auto& [entry, instance, reason, reserved] = *static_cast<Call*>(body);
    return entry(instance, reason, reserved);
  };
  try {
    return PortwiseCallForCatcher(run, &call);
  } catch (...) {
    return FALSE;
  }
}

void ReleaseLibrary(void* library) {
  const FreeingLibrary freeingLibrary;
  dlclose(library);
}

}  // namespace

void RegisterDllMain(DllEntry entry) {
  const HINSTANCE instance = ImageOf(reinterpret_cast<const void*>(entry));
  const auto image = FindImage(instance);
  if (!image || !CallFromLoader({entry, instance, DLL_PROCESS_ATTACH, nullptr})) {
    attachFailed = true;
    return;
  }
  const bool stays = CameWithProgram(instance);
  std::lock_guard lock(Dlls().mutex);
  Dlls().dlls.push_back({entry, instance, image->path, stays});
}

void UnregisterDllMain(DllEntry entry) {
  HINSTANCE instance;
  {
    std::lock_guard lock(Dlls().mutex);
    const auto found = FindEntry(Dlls().dlls, entry);
    if (found == Dlls().dlls.end()) return;
    instance = found->instance;
    // At the end of the process nobody unloads the library, whoever gives up the last reference meanwhile. One that
    // came with the program has no last reference, and once it is being ended the dynamic loader would begin it anew.
    if (freeing == 0 && !found->stays) dlopen(found->path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    Dlls().dlls.erase(found);
  }
  CallFromLoader({entry, instance, DLL_PROCESS_DETACH, freeing > 0 ? nullptr : instance});
}

void DetachThread() {
  if (threadDetached) return;
  threadDetached = true;
  std::vector<Dll> dlls;
  {
    std::lock_guard lock(Dlls().mutex);
    dlls.assign(Dlls().dlls.rbegin(), Dlls().dlls.rend());
  }
  for (const Dll& dll : dlls) {
    // A second reference keeps the code where it is while it runs. None can be had once unloading has begun; the wait
    // for it is the dynamic loader's, and afterwards the entry is no longer registered.
    const std::unique_ptr<void, decltype(&ReleaseLibrary)> reference(
        dll.stays ? nullptr : dlopen(dll.path.c_str(), RTLD_LAZY | RTLD_NOLOAD), ReleaseLibrary);
    if ((dll.stays || reference) && IsRegistered(dll.entry)) dll.entry(dll.instance, DLL_THREAD_DETACH, nullptr);
  }
}

bool TakeAttachFailure() { return std::exchange(attachFailed, false); }

FreeingLibrary::FreeingLibrary() { ++freeing; }
FreeingLibrary::~FreeingLibrary() { --freeing; }

}  // namespace portwise::platform
