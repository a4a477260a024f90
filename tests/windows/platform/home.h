#pragma once

#include "platform/text.h"

/// The tests' files lie where Windows has them: no path needs another form.
namespace portwise::platform {

inline std::string LinuxPath(std::wstring_view windowsPath) { return ToUtf8(windowsPath); }

}  // namespace portwise::platform
