#include "host/message_library.h"

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "platform/home.h"
#include "platform/kernel/modules.h"

namespace portwise {

namespace fs = std::filesystem;

namespace {

std::string Content(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

}  // namespace

std::string InstallMessageLibrary() {
  WCHAR folder[MAX_PATH];
  if (GetSystemDirectoryW(folder, MAX_PATH) >= MAX_PATH) return "the system directory has too long a name";
  const fs::path source = fs::path(platform::LibraryFolder()) / "msgtable.dll";
  const fs::path target = fs::path(platform::LinuxPath(folder)) / source.filename();
  const std::string content = Content(source);
  if (content.empty()) return "the texts of the event log, " + source.string() + ", cannot be read";
  if (Content(target) == content) return {};
  const fs::path fresh = target.string() + ".new";
  std::error_code error;
  if (!fs::copy_file(source, fresh, fs::copy_options::overwrite_existing, error) ||
      (fs::rename(fresh, target, error), error)) {
    return "cannot install " + target.string() + ": " + error.message();
  }
  return {};
}

}  // namespace portwise
