#include "core/message_box.h"

#include "core/handles.h"

namespace portwise {
namespace {

using MessageBoxFunction = int(WINAPI*)(HWND owner, LPCSTR text, LPCSTR caption, UINT style);
using WindowStationFunction = HANDLE(WINAPI*)();
using ObjectInformationFunction = BOOL(WINAPI*)(HANDLE object, int index, void* information, DWORD size, DWORD* needed);
using SessionFunction = BOOL(WINAPI*)(DWORD process, DWORD* session);

// From the SDK's <winuser.h>, which the library does without: what a window station says of itself.
constexpr int kStationFlagsIndex = 1;
constexpr DWORD kStationVisible = 1;
struct StationFlags {
  BOOL inherit;
  BOOL reserved;
  DWORD flags;
};

/// A system module with its functions, while it lives.
class SystemModule {
 public:
  explicit SystemModule(LPCWSTR name) : module_(LoadLibraryW(name)) {}

  template <class Function>
  Function Find(LPCSTR name) const {
    const FARPROC function = module_ ? GetProcAddress(module_.Get(), name) : nullptr;
    return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(function));
  }

 private:
  const unique_module module_;
};

/// Session 0 belongs to services. Where there are no sessions, no process is in that one.
bool IsInServiceSession() {
  const SystemModule kernel(TEXT("Kernel32.dll"));
  const auto sessionOf = kernel.Find<SessionFunction>("ProcessIdToSessionId");
  DWORD session = 0;
  return sessionOf && sessionOf(GetCurrentProcessId(), &session) && session == 0;
}

}  // namespace

bool HasInteractiveUser() {
  const SystemModule user(TEXT("User32.dll"));
  const auto windowStation = user.Find<WindowStationFunction>("GetProcessWindowStation");
  const auto objectInformation = user.Find<ObjectInformationFunction>("GetUserObjectInformationW");
  if (!windowStation || !objectInformation) return false;
  StationFlags station = {};
  return objectInformation(windowStation(), kStationFlagsIndex, &station, sizeof station, nullptr) &&
         (station.flags & kStationVisible) && !IsInServiceSession();
}

int ShowMessageBox(LPCSTR text, LPCSTR caption, UINT style) {
  const SystemModule user(TEXT("User32.dll"));
  const auto messageBox = user.Find<MessageBoxFunction>("MessageBoxA");
  return messageBox ? messageBox(nullptr, text, caption, style) : 0;
}

}  // namespace portwise
