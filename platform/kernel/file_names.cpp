#include <fcntl.h>
#include <sys/stat.h>
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <string>

#include "platform/home.h"
#include "platform/kernel/errno_map.h"
#include "platform/kernel/fail.h"
#include "platform/kernel/file_path.h"
#include "platform/kernel/unique_fd.h"
#include "platform/text.h"

namespace portwise::platform {
namespace {

/// Numbers that differ within the process, and mostly from those of other processes.
unsigned NextNumber() {
  static std::atomic<unsigned> next = GetCurrentProcessId() * 64 + GetTickCount();
  return next++ & 0xFFFF;
}

}  // namespace
}  // namespace portwise::platform

using namespace portwise::platform;

BOOL WINAPI SetFileAttributesW(LPCWSTR path, DWORD attributes) {
  std::string file;
  struct stat status {};
  if (!ResolvePath(path, &file)) return FALSE;
  if (stat(file.c_str(), &status) != 0) return FailOnPath(file, errno);
  const bool readOnly = (attributes & FILE_ATTRIBUTE_READONLY) != 0;
  if (readOnly == !(status.st_mode & 0222)) return TRUE;
  const mode_t mode = readOnly ? status.st_mode & ~mode_t{0222} : status.st_mode | 0200;
  return chmod(file.c_str(), mode & 07777) == 0 ? TRUE : FailOnPath(file, errno);
}

UINT WINAPI GetTempFileNameW(LPCWSTR folder, LPCWSTR prefix, UINT unique, LPWSTR path) {
  constexpr std::size_t kPrefix = 3, kNumberAndExtension = 9;
  constexpr int kAttempts = 0x10000;
  std::u16string start(folder ? folder : u"");
  if (start.empty() || !prefix || unique != 0 || !path) return static_cast<UINT>(Fail(ERROR_INVALID_PARAMETER));
  if (start.back() != u'\\' && start.back() != u'/') start += start.front() == u'/' ? u'/' : u'\\';
  start += std::u16string_view(prefix).substr(0, kPrefix);
  if (start.size() + kNumberAndExtension > MAX_PATH) return static_cast<UINT>(Fail(ERROR_BUFFER_OVERFLOW));
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    char number[16];
    const unsigned value = NextNumber();
    std::snprintf(number, sizeof number, "%X.TMP", value);
    const std::u16string name = start + ToUtf16(number);
    std::string file;
    if (!ResolvePath(name.c_str(), &file)) return 0;
    if (UniqueFd(open(file.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666))) {
      path[name.copy(path, name.size())] = 0;
      return std::max(value, 1u);
    }
    // A missing folder is told as one whose name is wrong.
    if (errno == ENOENT || errno == ENOTDIR) return static_cast<UINT>(Fail(ERROR_DIRECTORY));
    if (errno != EEXIST) return static_cast<UINT>(Fail(ErrorOfErrno(errno)));
  }
  return static_cast<UINT>(Fail(ERROR_FILE_EXISTS));
}

BOOL WINAPI MoveFileExW(LPCWSTR from, LPCWSTR to, DWORD flags) {
  std::string source, target;
  if (!ResolvePath(from, &source) || !ResolvePath(to, &target)) return FALSE;
  const unsigned noReplace = flags & MOVEFILE_REPLACE_EXISTING ? 0 : RENAME_NOREPLACE;
  if (renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, target.c_str(), noReplace) == 0) return TRUE;
  if (errno == EXDEV) return Fail(ERROR_NOT_SAME_DEVICE);
  return FailOnPath(source, errno);
}
