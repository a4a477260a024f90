#include <sys/stat.h>
#include <unistd.h>
#include <windows.h>

#include <cerrno>
#include <filesystem>

#include "platform/home.h"
#include "platform/kernel/copy_text.h"
#include "platform/kernel/errno_map.h"
#include "platform/kernel/fail.h"
#include "platform/kernel/file_path.h"
#include "platform/kernel/share_table.h"

namespace portwise::platform {
namespace {

/// Hands out a well-known folder, which exists from then on.
DWORD GiveFolder(std::u16string_view folder, LPWSTR buffer, DWORD size) {
  std::error_code ignored;
  std::filesystem::create_directories(LinuxPath(folder), ignored);
  return CopyText(folder, buffer, size);
}

}  // namespace
}  // namespace portwise::platform

using namespace portwise::platform;

BOOL WINAPI CreateDirectoryW(LPCWSTR path, LPSECURITY_ATTRIBUTES) {
  std::string folder;
  if (!ResolvePath(path, &folder)) return FALSE;
  if (mkdir(folder.c_str(), 0777) == 0) return TRUE;
  return Fail(errno == ENOENT ? ERROR_PATH_NOT_FOUND : ErrorOfErrno(errno));
}

DWORD WINAPI GetFileAttributesW(LPCWSTR path) {
  std::string file;
  if (!ResolvePath(path, &file)) return INVALID_FILE_ATTRIBUTES;
  struct stat status {};
  if (stat(file.c_str(), &status) != 0) {
    FailOnPath(file, errno);
    return INVALID_FILE_ATTRIBUTES;
  }
  if (S_ISDIR(status.st_mode)) return FILE_ATTRIBUTE_DIRECTORY;
  return status.st_mode & 0222 ? FILE_ATTRIBUTE_NORMAL : FILE_ATTRIBUTE_READONLY;
}

BOOL WINAPI DeleteFileW(LPCWSTR path) {
  std::string file;
  if (!ResolvePath(path, &file)) return FALSE;
  struct stat status {};
  if (stat(file.c_str(), &status) == 0) {
    if (S_ISDIR(status.st_mode) || !(status.st_mode & 0222)) return Fail(ERROR_ACCESS_DENIED);
    if (!ShareClaim::MayDelete(status)) return Fail(ERROR_SHARING_VIOLATION);
  }
  // The name goes at once, although handles that share the deletion may still be open.
  return unlink(file.c_str()) == 0 ? TRUE : FailOnPath(file, errno);
}

DWORD WINAPI GetTempPathW(DWORD size, LPWSTR path) { return GiveFolder(u"C:\\Windows\\Temp\\", path, size); }

UINT WINAPI GetSystemDirectoryW(LPWSTR path, UINT size) { return GiveFolder(u"C:\\Windows\\System32", path, size); }
