#include "platform/kernel/module_files.h"

#include <algorithm>
#include <filesystem>

#include "platform/home.h"
#include "platform/kernel/ascii.h"
#include "platform/kernel/images.h"
#include "platform/kernel/modules.h"
#include "platform/text.h"

namespace portwise::platform {
namespace {

constexpr std::string_view kDll = ".dll";

/// The names of files that a module's file name may stand for.
std::vector<std::string> FileNames(std::string name) {
  std::vector<std::string> names;
  const std::string given = name;
  if (name.find('.') == std::string::npos) name += kDll;
  names.push_back(name);
  if (name.size() > kDll.size() && EqualAscii(std::string_view(name).substr(name.size() - kDll.size()), kDll)) {
    names.push_back("lib" + name.substr(0, name.size() - kDll.size()) + ".so");
  }
  if (name != given) names.push_back(given);  // a program, which has no extension
  return names;
}

}  // namespace

bool IsBareName(std::u16string_view name) { return name.find_first_of(u"\\/:") == std::u16string_view::npos; }

std::vector<std::string> ModuleFiles(std::u16string_view name) {
  std::vector<std::string> files;
  const auto addFolder = [&files](const std::filesystem::path& folder, const std::string& file) {
    for (const auto& candidate : FileNames(file)) files.push_back((folder / candidate).lexically_normal().string());
  };
  if (IsBareName(name)) {
    addFolder(LibraryFolder(), ToUtf8(name));
    addFolder(LinuxPath(u"C:\\Windows\\System32"), ToUtf8(name));
    return files;
  }
  std::error_code error;
  const auto path = std::filesystem::absolute(LinuxPath(name), error);
  if (!error) addFolder(path.parent_path(), path.filename().string());
  return files;
}

bool IsModuleFile(std::string_view path, std::u16string_view name) {
  const auto file = path.substr(path.rfind('/') + 1);
  const auto names = FileNames(ToUtf8(name));
  return std::any_of(names.begin(), names.end(), [file](const auto& other) { return EqualAscii(other, file); });
}

std::string_view LibraryFolder() {
  static const auto& folder = *new std::string([] {
    const auto image = FindImage(ImageOf(reinterpret_cast<const void*>(&LibraryFolder)));
    return image ? image->path.substr(0, image->path.rfind('/')) : std::string();
  }());
  return folder;
}

}  // namespace portwise::platform
