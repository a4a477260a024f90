#pragma once

#include <windows.h>

#include <string>

namespace portwise::platform {

/// The Linux path that a file call is given. False with the last error set: ERROR_PATH_NOT_FOUND for no path and for
/// drives that do not exist, ERROR_INVALID_NAME for characters that Windows names cannot have.
bool ResolvePath(LPCWSTR path, std::string* linuxPath);

/// Fails a call on `linuxPath` with the error of `error`. ENOENT is told apart: ERROR_PATH_NOT_FOUND when the folder
/// that should hold the file is missing as well.
BOOL FailOnPath(const std::string& linuxPath, int error);

}  // namespace portwise::platform
