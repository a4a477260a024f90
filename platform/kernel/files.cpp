#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <optional>

#include "platform/kernel/errno_map.h"
#include "platform/kernel/fail.h"
#include "platform/kernel/file_path.h"
#include "platform/kernel/file_times.h"
#include "platform/kernel/handle_table.h"
#include "platform/kernel/share_table.h"
#include "platform/kernel/unique_fd.h"

namespace portwise::platform {
namespace {

struct File final : KernelObject {
  File(UniqueFd descriptor, DWORD grantedAccess, bool isRegular, ShareClaim shareClaim)
      : claim(std::move(shareClaim)), fd(std::move(descriptor)), access(grantedAccess), regular(isRegular) {}

  // The claim outlives the descriptor, without which the inode's number might mean another file.
  const ShareClaim claim;
  const UniqueFd fd;
  const DWORD access;
  const bool regular;
};

/// The file behind a handle with `access`; null with the last error set.
std::shared_ptr<File> FindFile(HANDLE handle, DWORD access) {
  auto file = FindObjectOf<File>(handle);
  if (file && (file->access & access) != access) {
    SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
  }
  return file;
}

struct OpenRequest {
  std::string path;
  DWORD access;
  DWORD disposition;
  mode_t mode;  // of a new file

  bool Creates() const { return disposition != OPEN_EXISTING && disposition != TRUNCATE_EXISTING; }
  bool Truncates() const { return disposition == CREATE_ALWAYS || disposition == TRUNCATE_EXISTING; }
  int Flags() const {
    const bool write = (access & GENERIC_WRITE) || Truncates();
    return O_CLOEXEC | O_NOCTTY | (!write ? O_RDONLY : access & GENERIC_READ ? O_RDWR : O_WRONLY);
  }
};

/// Opens or creates, without touching what is there; `existed` tells which. The caller reads errno on failure.
UniqueFd OpenOrCreate(const OpenRequest& request, bool* existed) {
  while (true) {
    if (request.disposition != CREATE_NEW) {
      UniqueFd fd(open(request.path.c_str(), request.Flags()));
      *existed = true;
      if (fd || errno != ENOENT || !request.Creates()) return fd;
    }
    UniqueFd fd(open(request.path.c_str(), request.Flags() | O_CREAT | O_EXCL, request.mode));
    *existed = false;
    // Somebody else may have created it in between.
    if (fd || errno != EEXIST || request.disposition == CREATE_NEW) return fd;
  }
}

HANDLE OpenFile(const OpenRequest& request, DWORD share) {
  bool existed = false;
  UniqueFd fd = OpenOrCreate(request, &existed);
  if (!fd) {
    if (errno == EEXIST) {
      SetLastError(ERROR_FILE_EXISTS);
    } else {
      FailOnPath(request.path, errno);
    }
    return INVALID_HANDLE_VALUE;
  }
  struct stat status {};
  fstat(fd.Get(), &status);
  const bool writes = (request.access & GENERIC_WRITE) || request.Truncates();
  // The superuser may write to what nobody may write to; a Windows program may not.
  if (S_ISDIR(status.st_mode) || (existed && writes && !(status.st_mode & 0222))) {
    SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
  }
  auto claim = ShareClaim::Take(status, request.access | (request.Truncates() ? GENERIC_WRITE : 0), share);
  if (!claim) {
    SetLastError(ERROR_SHARING_VIOLATION);
    return INVALID_HANDLE_VALUE;
  }
  const bool regular = S_ISREG(status.st_mode);
  if (existed && regular && request.Truncates() && ftruncate(fd.Get(), 0) != 0) {
    SetLastError(ErrorOfErrno(errno));
    return INVALID_HANDLE_VALUE;
  }
  const HANDLE handle = OpenHandle(std::make_shared<File>(std::move(fd), request.access, regular, std::move(*claim)));
  if (!handle) return INVALID_HANDLE_VALUE;
  if (request.disposition == CREATE_ALWAYS || request.disposition == OPEN_ALWAYS) {
    SetLastError(existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
  }
  return handle;
}

/// A handle of one of the process's own descriptors.
HANDLE OpenStandard(int descriptor) {
  auto claim = ShareClaim::Take({}, 0, 0);
  return OpenHandle(
      std::make_shared<File>(UniqueFd(descriptor), GENERIC_READ | GENERIC_WRITE, false, std::move(*claim)));
}

/// Sets a file's size or position and turns the result of the system call into the API's.
BOOL Result(long long result) { return result >= 0 ? TRUE : Fail(ErrorOfErrno(errno)); }

}  // namespace
}  // namespace portwise::platform

using namespace portwise::platform;

HANDLE WINAPI CreateFileW(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES, DWORD disposition,
                          DWORD attributes, HANDLE) {
  const mode_t mode = attributes & FILE_ATTRIBUTE_READONLY ? 0444 : 0666;
  OpenRequest request{{}, access, disposition, mode};
  if (disposition < CREATE_NEW || disposition > TRUNCATE_EXISTING ||
      (disposition == TRUNCATE_EXISTING && !(access & GENERIC_WRITE))) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return INVALID_HANDLE_VALUE;
  }
  if (!ResolvePath(path, &request.path)) return INVALID_HANDLE_VALUE;
  return OpenFile(request, share);
}

HANDLE WINAPI GetStdHandle(DWORD which) {
  static const HANDLE handles[] = {OpenStandard(STDIN_FILENO), OpenStandard(STDOUT_FILENO),
                                   OpenStandard(STDERR_FILENO)};
  // -10, -11 and -12
  const DWORD index = STD_INPUT_HANDLE - which;
  if (index < std::size(handles)) return handles[index];
  SetLastError(ERROR_INVALID_HANDLE);
  return INVALID_HANDLE_VALUE;
}

BOOL WINAPI ReadFile(HANDLE file, LPVOID buffer, DWORD size, LPDWORD read, OVERLAPPED* overlapped) {
  const auto object = FindFile(file, GENERIC_READ);
  if (!object) return FALSE;
  if (!read || overlapped || (!buffer && size > 0)) return Fail(ERROR_INVALID_PARAMETER);
  *read = 0;
  // A regular file is read until it ends; a device has given what it has after the first call.
  while (*read < size && (*read == 0 || object->regular)) {
    const ssize_t result = ::read(object->fd.Get(), static_cast<char*>(buffer) + *read, size - *read);
    if (result < 0 && errno == EINTR) continue;
    if (result < 0) return Fail(ErrorOfErrno(errno));
    if (result == 0) break;
    *read += static_cast<DWORD>(result);
  }
  return TRUE;
}

BOOL WINAPI WriteFile(HANDLE file, LPCVOID buffer, DWORD size, LPDWORD written, OVERLAPPED* overlapped) {
  const auto object = FindFile(file, GENERIC_WRITE);
  if (!object) return FALSE;
  if (!written || overlapped || (!buffer && size > 0)) return Fail(ERROR_INVALID_PARAMETER);
  *written = 0;
  while (*written < size) {
    const ssize_t result = write(object->fd.Get(), static_cast<const char*>(buffer) + *written, size - *written);
    if (result < 0 && errno == EINTR) continue;
    if (result < 0) return Fail(ErrorOfErrno(errno));
    *written += static_cast<DWORD>(result);
  }
  return TRUE;
}

BOOL WINAPI FlushFileBuffers(HANDLE file) {
  const auto object = FindFile(file, GENERIC_WRITE);
  if (!object) return FALSE;
  // EINVAL: a device that has nothing to flush.
  return fsync(object->fd.Get()) == 0 || errno == EINVAL ? TRUE : Fail(ErrorOfErrno(errno));
}

BOOL WINAPI SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, PLARGE_INTEGER position, DWORD method) {
  const auto object = FindFile(file, 0);
  if (!object) return FALSE;
  static constexpr int kOrigins[] = {SEEK_SET, SEEK_CUR, SEEK_END};
  if (method > FILE_END) return Fail(ERROR_INVALID_PARAMETER);
  const off_t result = lseek(object->fd.Get(), distance.QuadPart, kOrigins[method]);
  if (result < 0 && errno == EINVAL) return Fail(ERROR_NEGATIVE_SEEK);
  if (result >= 0 && position) position->QuadPart = result;
  return Result(result);
}

BOOL WINAPI SetEndOfFile(HANDLE file) {
  const auto object = FindFile(file, GENERIC_WRITE);
  if (!object) return FALSE;
  const off_t position = lseek(object->fd.Get(), 0, SEEK_CUR);
  return position < 0 ? Result(position) : Result(ftruncate(object->fd.Get(), position));
}

BOOL WINAPI GetFileSizeEx(HANDLE file, PLARGE_INTEGER size) {
  const auto object = FindFile(file, 0);
  if (!object) return FALSE;
  struct stat status {};
  const int result = fstat(object->fd.Get(), &status);
  if (result == 0) size->QuadPart = status.st_size;
  return Result(result);
}

BOOL WINAPI GetFileTime(HANDLE file, LPFILETIME creation, LPFILETIME access, LPFILETIME write) {
  const auto object = FindFile(file, 0);
  if (!object) return FALSE;
  struct stat status {};
  const int result = fstat(object->fd.Get(), &status);
  if (result != 0) return Result(result);
  const FILETIME accessed = FileTimeOf(status.st_atim), written = FileTimeOf(status.st_mtim);
  if (creation) *creation = CompareFileTime(&accessed, &written) < 0 ? accessed : written;
  if (access) *access = accessed;
  if (write) *write = written;
  return TRUE;
}

BOOL WINAPI SetFileTime(HANDLE file, const FILETIME*, const FILETIME* access, const FILETIME* write) {
  const auto object = FindFile(file, GENERIC_WRITE);
  if (!object) return FALSE;
  const timespec keep{0, UTIME_OMIT};
  const timespec times[] = {access ? TimespecOf(*access) : keep, write ? TimespecOf(*write) : keep};
  return Result(futimens(object->fd.Get(), times));
}
