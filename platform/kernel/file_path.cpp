#include "platform/kernel/file_path.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "platform/home.h"
#include "platform/kernel/errno_map.h"
#include "platform/kernel/fail.h"

namespace portwise::platform {

bool ResolvePath(LPCWSTR path, std::string* linuxPath) {
  const std::u16string_view text(path ? path : u"");
  const auto forbidden = [](char16_t c) {
    return c < 0x20 || std::u16string_view(u"<>\"|?*").find(c) != std::u16string_view::npos;
  };
  // What begins with a slash is a Linux path, whose names may hold anything but a separator.
  if (!text.starts_with(u'/') && std::any_of(text.begin(), text.end(), forbidden)) return Fail(ERROR_INVALID_NAME);
  *linuxPath = LinuxPath(text);
  return !linuxPath->empty() || Fail(ERROR_PATH_NOT_FOUND);
}

BOOL FailOnPath(const std::string& linuxPath, int error) {
  if (error != ENOENT) return Fail(ErrorOfErrno(error));
  std::error_code ignored;
  const auto folder = std::filesystem::absolute(linuxPath, ignored).parent_path();
  return Fail(std::filesystem::is_directory(folder, ignored) ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND);
}

}  // namespace portwise::platform
