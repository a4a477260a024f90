#include "platform/kernel/errno_map.h"

#include <cerrno>

namespace portwise::platform {

DWORD ErrorOfErrno(int error) {
  static constexpr struct {
    int error;
    DWORD code;
  } kRows[] = {
      {0, ERROR_SUCCESS},
      {EPERM, ERROR_ACCESS_DENIED},
      {EACCES, ERROR_ACCESS_DENIED},
      {EROFS, ERROR_ACCESS_DENIED},
      {EISDIR, ERROR_ACCESS_DENIED},
      {ENOENT, ERROR_FILE_NOT_FOUND},
      {ENOTDIR, ERROR_PATH_NOT_FOUND},
      {ELOOP, ERROR_PATH_NOT_FOUND},
      {EEXIST, ERROR_ALREADY_EXISTS},
      {ENOTEMPTY, ERROR_DIR_NOT_EMPTY},
      {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
      {EBADF, ERROR_INVALID_HANDLE},
      {EINVAL, ERROR_INVALID_PARAMETER},
      {EMFILE, ERROR_TOO_MANY_OPEN_FILES},
      {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
      {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
      {EAGAIN, ERROR_NOT_ENOUGH_MEMORY},
      {ENOSPC, ERROR_DISK_FULL},
      {EDQUOT, ERROR_DISK_FULL},
      {EFBIG, ERROR_DISK_FULL},
      {EIO, ERROR_IO_DEVICE},
      {ENXIO, ERROR_NOT_READY},
      {ENODEV, ERROR_NOT_READY},
      {EBUSY, ERROR_BUSY},
      {ETXTBSY, ERROR_SHARING_VIOLATION},
      {EPIPE, ERROR_NO_DATA},
      {ENOSYS, ERROR_NOT_SUPPORTED},
      {EOPNOTSUPP, ERROR_NOT_SUPPORTED},
      {ETIMEDOUT, ERROR_SEM_TIMEOUT},
  };
  for (const auto& row : kRows) {
    if (row.error == error) return row.code;
  }
  return ERROR_GEN_FAILURE;
}

}  // namespace portwise::platform
