#pragma once

#include <windows.h>

namespace portwise::platform {

/// The last-error value that stands for an errno value; ERROR_GEN_FAILURE for those without a counterpart. ENOENT is
/// ERROR_FILE_NOT_FOUND: whoever knows that a folder is missing says ERROR_PATH_NOT_FOUND instead.
DWORD ErrorOfErrno(int error);

}  // namespace portwise::platform
