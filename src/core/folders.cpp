#include "core/folders.h"

#include <shlobj.h>

#include "core/handles.h"

namespace portwise {
namespace {

using GetFolderPath = HRESULT(WINAPI*)(HWND owner, int folder, HANDLE token, DWORD flags, LPWSTR path);

bool IsFolder(const OString& path) {
  const DWORD attributes = GetFileAttributesW(path.Wide());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

bool NamesDevice(const OString& file) {
  OString stem = file.Find('.') < 0 ? file : file.Left(file.Find('.'));
  stem.TrimRight(" ");
  for (const char* device : {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"}) {
    if (stem.EqualsNoCase(device)) return true;
  }
  const bool numbered = stem.Length() == 4 && stem[3] >= '0' && stem[3] <= '9';
  return numbered && (stem.Left(3).EqualsNoCase("COM") || stem.Left(3).EqualsNoCase("LPT"));
}

}  // namespace

OString CommonApplicationDataFolder() {
  const unique_module shell(LoadLibraryW(TEXT("Shell32.dll")));
  if (!shell) return OString();
  const FARPROC function = GetProcAddress(shell.Get(), "SHGetFolderPathW");
  const auto getFolderPath = reinterpret_cast<GetFolderPath>(reinterpret_cast<void (*)()>(function));
  WCHAR path[MAX_PATH] = {};
  if (!getFolderPath ||
      !SUCCEEDED(getFolderPath(nullptr, CSIDL_COMMON_APPDATA | CSIDL_FLAG_CREATE, nullptr, 0, path))) {
    return OString();
  }
  return OString(path).TrimRight("\\");
}

OString LibraryTempFolder() {
  const OString common = CommonApplicationDataFolder();
  if (!common.IsEmpty()) {
    OString folder = common + "\\Corvane\\Drivers\\Temp";
    if (CreateFolder(folder)) return folder;
  }
  WCHAR path[MAX_PATH + 1] = {};
  const DWORD length = GetTempPathW(MAX_PATH + 1, path);
  return length > 0 && length <= MAX_PATH ? OString(path).TrimRight("\\") : OString();
}

OString AvoidDeviceName(const OString& name) { return NamesDevice(name) ? "_" + name : name; }

bool CreateFolder(const OString& path) {
  OString folder = path;
  folder.TrimRight("\\/");
  if (IsFolder(folder)) return true;
  const int separator = folder.ReverseFindAny("\\/");
  if (separator > 0) {
    const OString parent = folder.Left(separator);
    if (parent[parent.Length() - 1] != ':' && !CreateFolder(parent)) return false;
  }
  return CreateDirectoryW(folder.Wide(), nullptr) || (GetLastError() == ERROR_ALREADY_EXISTS && IsFolder(folder));
}

}  // namespace portwise
