#include "platform/resources/module_resources.h"

#include <map>
#include <mutex>

#include "platform/kernel/images.h"
#include "platform/resources/elf_note.h"

namespace portwise::platform {
namespace {

struct DataModule {
  std::string path;
  std::shared_ptr<const ResourceFile> file;
};

struct DataModules {
  std::mutex mutex;
  std::map<HMODULE, DataModule> open;
};
DataModules& Modules() {
  static auto& modules = *new DataModules;
  return modules;
}

std::shared_ptr<const ResourceFile> ResourcesOfImage(HMODULE module) {
  for (const std::string_view segment : NoteSegments(module)) {
    const auto image = FindResourceNote(segment);
    if (!image) continue;
    if (auto file = ResourceFile::OfImage(*image)) return file;
  }
  SetLastError(ERROR_RESOURCE_DATA_NOT_FOUND);
  return nullptr;
}

}  // namespace

std::shared_ptr<const ResourceFile> ResourcesOfModule(HMODULE module) {
  {
    std::lock_guard lock(Modules().mutex);
    const auto found = Modules().open.find(module);
    if (found != Modules().open.end()) return found->second.file;
  }
  if (!module) module = LoadedImages().front().module;
  if (FindImage(module)) return ResourcesOfImage(module);
  SetLastError(ERROR_MOD_NOT_FOUND);
  return nullptr;
}

std::shared_ptr<const ResourceFile> ResourcesOfFile(const std::string& path) {
  for (const Image& image : LoadedImages()) {
    if (image.path == path) return ResourcesOfImage(image.module);
  }
  if (auto file = ResourceFile::Open(path)) return file;
  if (GetLastError() == ERROR_BAD_EXE_FORMAT) SetLastError(ERROR_RESOURCE_DATA_NOT_FOUND);
  return nullptr;
}

HMODULE OpenDataModule(const std::string& path) {
  std::shared_ptr<const ResourceFile> file = ResourceFile::Open(path);
  if (!file) return nullptr;
  const auto module = reinterpret_cast<HMODULE>(reinterpret_cast<ULONG_PTR>(file.get()) | 1);
  std::lock_guard lock(Modules().mutex);
  Modules().open.emplace(module, DataModule{path, std::move(file)});
  return module;
}

std::string PathOfDataModule(HMODULE module) {
  std::lock_guard lock(Modules().mutex);
  const auto found = Modules().open.find(module);
  return found == Modules().open.end() ? std::string() : found->second.path;
}

bool CloseDataModule(HMODULE module) {
  std::lock_guard lock(Modules().mutex);
  return Modules().open.erase(module) > 0;
}

}  // namespace portwise::platform
