#include "host/system_files.h"

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

/// Installs one file; `fault` takes a line when that fails.
void Install(const fs::path& source, const fs::path& target, std::string* fault) {
  const std::string content = Content(source);
  std::error_code error;
  if (content.empty()) {
    *fault += "; " + source.string() + " cannot be read";
  } else if (Content(target) != content) {
    const fs::path fresh = target.string() + ".new";
    if (!fs::copy_file(source, fresh, fs::copy_options::overwrite_existing, error) ||
        (fs::rename(fresh, target, error), error)) {
      *fault += "; cannot install " + target.string() + ": " + error.message();
    }
  }
}

}  // namespace

std::string InstallSystemFiles() {
  WCHAR folder[MAX_PATH];
  if (GetSystemDirectoryW(folder, MAX_PATH) >= MAX_PATH) return "the system directory has too long a name";
  const fs::path from(platform::LibraryFolder()), to(platform::LinuxPath(folder));
  std::string fault;
  for (const char* name : {"msgtable.dll", "portwise.ddz"}) Install(from / name, to / name, &fault);
  return fault.empty() ? fault : fault.substr(2);
}

}  // namespace portwise
