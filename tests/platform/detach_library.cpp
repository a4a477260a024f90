// A library with a DllMain that writes down its calls in the environment map, which outlives the library: "A" and the
// value of a static object at the attach, "T" and the thread's value at the end of a thread, "D" at the detach.

#include <windows.h>

#include <string>

#include "tests/support/faults.h"

namespace {

const std::string ready = std::string("ready ") + std::to_string(GetCurrentProcessId());
DWORD slot = TLS_OUT_OF_INDEXES;

void Log(const std::string& text) {
  char log[256] = "";
  GetEnvironmentVariableA("DLL_LOG", log, sizeof log);
  SetEnvironmentVariableA("DLL_LOG", (log + text).c_str());
}

}  // namespace

extern "C" {

HINSTANCE instanceOfAttach = nullptr;

void SetThreadText(const char* text) { TlsSetValue(slot, const_cast<char*>(text)); }
HINSTANCE Instance() { return instanceOfAttach; }

struct Holder {
  HMODULE module;
  HANDLE event;
} holder;

/// A thread that holds a reference on the library until the event, and then ends with the library's last code gone.
HANDLE StartHolder(HANDLE event) {
  holder.event = event;
  const auto here = reinterpret_cast<LPCWSTR>(&StartHolder);
  if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, here, &holder.module)) return nullptr;
  const auto hold = [](LPVOID) -> DWORD {
    WaitForSingleObject(holder.event, INFINITE);
    FreeLibraryAndExitThread(holder.module, 7);
  };
  return CreateThread(nullptr, 0, hold, nullptr, 0, nullptr);
}

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
  if (reason == DLL_PROCESS_ATTACH) {
    if (GetEnvironmentVariableA("DLL_REFUSE", nullptr, 0) > 0) return FALSE;
    if (GetEnvironmentVariableA("DLL_THROW", nullptr, 0) > 0) throw std::string("refused");
    if (GetEnvironmentVariableA("DLL_FAULT", nullptr, 0) > 0) portwise::WriteAt16();
    instanceOfAttach = instance;
    slot = TlsAlloc();
    Log("A:" + ready.substr(0, 5) + ";");
  } else if (reason == DLL_THREAD_DETACH) {
    const auto text = static_cast<const char*>(TlsGetValue(slot));
    if (text) Log(std::string("T:") + text + ";");  // threads of other tests, which may end at any time, have none
  } else if (reason == DLL_PROCESS_DETACH) {
    TlsFree(slot);
    if (GetEnvironmentVariableA("DLL_FAULT_LATE", nullptr, 0) > 0) portwise::WriteAt16();
    Log(reserved ? "D:exit;" : "D:free;");
  }
  return TRUE;
}
}
