// An archive of language modules: whatever is in it, only the target is written, and no more than a member may hold.

#include <windows.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "locale/resource_archive.h"

using namespace portwise;

namespace {

/// The archive and the target, in a folder of the process that ends with it.
class Folder {
 public:
  Folder() {
    std::string path = (std::filesystem::temp_directory_path() / "portwise-fuzz-XXXXXX").string();
    if (!mkdtemp(path.data())) std::abort();
    path_ = path;
  }
  ~Folder() { std::filesystem::remove_all(path_); }

  std::string File(const char* name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  static const Folder folder;
  const std::string archivePath = folder.File("archive"), target = folder.File("target");
  std::filesystem::remove(archivePath);
  std::ofstream(archivePath, std::ios::binary).write(reinterpret_cast<const char*>(data), static_cast<long>(size));
  OResourceFile archive;
  if (!archive.AddArchive(OString(archivePath))) std::abort();
  for (const char* name : {"portwise[deu].dll", "m", ""}) {
    std::filesystem::remove(target);
    const bool extracted = archive.Extract(name, OString(target), OResourceFile::kTemporary);
    if (extracted != std::filesystem::exists(target)) std::abort();
    if (extracted && std::filesystem::file_size(target) > OResourceFile::kLargestMember) std::abort();
  }
  return 0;
}
