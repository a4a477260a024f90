#include "platform/home.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <vector>

#include "platform/kernel/ascii.h"
#include "platform/text.h"

namespace portwise::platform {
namespace {

namespace fs = std::filesystem;

fs::path UserHome() {
  if (const char* home = std::getenv("HOME"); home && *home == '/') return home;
  passwd entry{};
  passwd* found = nullptr;
  std::array<char, 4096> buffer;
  getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found);
  return found && found->pw_dir ? found->pw_dir : "/";
}

fs::path FindHome() {
  if (const char* home = std::getenv("PORTWISE_HOME"); home && *home) {
    std::error_code error;
    return fs::absolute(home, error).lexically_normal();
  }
  if (geteuid() == 0) return "/var/lib/portwise";
  if (const char* state = std::getenv("XDG_STATE_HOME"); state && *state == '/') return fs::path(state) / "portwise";
  return UserHome() / ".local/state/portwise";
}

/// The path below a folder that it cannot leave: "..", as on Windows, stays at the drive's root.
std::string Below(std::string folder, std::string_view path) {
  std::vector<std::string_view> parts;
  while (!path.empty()) {
    const auto end = std::min(path.find_first_of("\\/"), path.size());
    const auto part = path.substr(0, end);
    if (part == "..") {
      if (!parts.empty()) parts.pop_back();
    } else if (!part.empty() && part != ".") {
      parts.push_back(part);
    }
    path.remove_prefix(std::min(end + 1, path.size()));
  }
  for (const auto part : parts) folder.append("/").append(part);
  return folder;
}

std::string DriveC() {
  const std::string drive = Home() + "/drive_c";
  mkdir(drive.c_str(), 0777);
  return drive;
}

}  // namespace

std::string Home() {
  std::string home = FindHome().string();
  while (home.size() > 1 && home.back() == '/') home.pop_back();
  std::error_code ignored;
  fs::create_directories(home, ignored);
  return home;
}

std::string LinuxPath(std::u16string_view windowsPath) {
  std::string path = ToUtf8(windowsPath);
  if (path.starts_with("\\\\")) return {};  // another computer's share, or a device
  if (path.starts_with('\\')) return Below(DriveC(), path);
  if (path.size() >= 2 && path[0] != '/' && path[1] == ':') {
    return LowerAscii(path[0]) == 'c' ? Below(DriveC(), std::string_view(path).substr(2)) : std::string();
  }
  // Those who put a name behind a folder do it with a backslash, also when the folder is a Linux one.
  std::replace(path.begin(), path.end(), '\\', '/');
  return path;
}

std::u16string WindowsPath(std::string_view linuxPath) {
  const std::string drive = DriveC();
  std::error_code error;
  // What the system reports has its symbolic links resolved.
  for (const auto& folder : {drive, fs::canonical(drive, error).string()}) {
    if (folder.empty() || !linuxPath.starts_with(folder)) continue;
    const auto rest = linuxPath.substr(folder.size());
    if (!rest.empty() && rest.front() != '/') continue;
    std::u16string path = u"C:" + ToUtf16(rest.empty() ? "/" : rest);
    for (char16_t& c : path) {
      if (c == u'/') c = u'\\';
    }
    return path;
  }
  return ToUtf16(linuxPath);
}

}  // namespace portwise::platform
