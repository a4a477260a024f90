#include <shlobj.h>

#include <filesystem>

#include "platform/home.h"
#include "platform/kernel/copy_text.h"
#include "platform/kernel/modules.h"

namespace portwise::platform {
namespace {

/// SHGetFolderPathW: `path` holds MAX_PATH units. Only the folder of the data that all users share is known.
HRESULT GetFolderPath(HWND, int folder, HANDLE, DWORD, LPWSTR path) {
  if ((folder & ~CSIDL_FLAG_CREATE) != CSIDL_COMMON_APPDATA || !path) return E_INVALIDARG;
  constexpr std::u16string_view kData = u"C:\\ProgramData";
  if (folder & CSIDL_FLAG_CREATE) {
    std::error_code error;
    std::filesystem::create_directories(LinuxPath(kData), error);
    if (error) return E_FAIL;
  }
  CopyText(kData, path, MAX_PATH);
  return S_OK;
}

const bool registered = [] {
  RegisterSystemModule("Shell32.dll", {{"SHGetFolderPathW", AsFarProc(GetFolderPath)}});
  return true;
}();

}  // namespace
}  // namespace portwise::platform
