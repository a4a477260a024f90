#include "core/file_version_info.h"

#include <windows.h>
#include <winver.h>

#include <algorithm>

#include "core/exception.h"

namespace portwise {
namespace {

/// A language and the code page of UTF-16, as the blocks of strings are named after them.
constexpr const char* kBlocks[] = {"000004B0", "080004B0", "040004B0", "040904B0"};

[[noreturn]] void RaiseFailure(DWORD error, LONG line) {
  OException failure(static_cast<LONG>(error));
  failure.SetLocation("FileVersionInfo::_GetFileVersionInfo", "FileVersionInfo", line);
  throw failure;
}

}  // namespace

FileVersionInfo::FileVersionInfo(const OString& path) : path_(path) { Read(); }

void FileVersionInfo::Read() {
  DWORD handle = 0;
  const DWORD size = GetFileVersionInfoSizeW(path_.Wide(), &handle);
  if (size == 0) RaiseFailure(GetLastError(), __LINE__);
  if (!resource_.Allocate(size)) RaiseFailure(ERROR_OUTOFMEMORY, __LINE__);
  if (!GetFileVersionInfoW(path_.Wide(), 0, size, resource_.Data())) RaiseFailure(GetLastError(), __LINE__);
}

OString FileVersionInfo::GetString(const OString& name) const {
  for (const char* block : kBlocks) {
    const OString path = OString("\\StringFileInfo\\") + block + "\\" + name;
    void* value = nullptr;
    UINT length = 0;
    if (!VerQueryValueW(resource_.Data(), path.Wide(), &value, &length)) continue;
    // The length counts the terminator, and what a careless compiler has put behind it; of a value that is not marked
    // as text it is in bytes.
    const auto* start = static_cast<const BYTE*>(value);
    const auto left = static_cast<size_t>(resource_.Data() + resource_.Size() - start) / sizeof(WCHAR);
    const WideView text(static_cast<const WCHAR*>(value), std::min<size_t>(length, left));
    return OString(text.substr(0, text.find(WCHAR(0))));
  }
  return OString();
}

}  // namespace portwise
