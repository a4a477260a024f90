#include "platform/kernel/modules.h"

#include <dlfcn.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>

#include "platform/home.h"
#include "platform/kernel/copy_text.h"
#include "platform/kernel/dll_entry.h"
#include "platform/kernel/fail.h"
#include "platform/kernel/image_file.h"
#include "platform/kernel/images.h"
#include "platform/kernel/module_files.h"
#include "platform/kernel/system_modules.h"
#include "platform/resources/module_resources.h"
#include "platform/text.h"

namespace portwise::platform {
namespace {

struct CloseLibrary {
  void operator()(void* library) const {
    const FreeingLibrary freeing;
    dlclose(library);
  }
};
using Library = std::unique_ptr<void, CloseLibrary>;

// One reference for each LoadLibraryW. The lock is never held while libraries are loaded or freed, since their DllMain
// may come back here.
struct LoadedTable {
  std::mutex mutex;
  std::multimap<HMODULE, Library> references;
};
LoadedTable& Loaded() {
  static auto& table = *new LoadedTable;
  return table;
}

HMODULE Program() {
  static const HMODULE program = LoadedImages().front().module;
  return program;
}

HMODULE LoadFile(const std::string& path) {
  if (!IsWholeImageFile(path)) {
    SetLastError(ERROR_BAD_EXE_FORMAT);
    return nullptr;
  }
  TakeAttachFailure();
  Library library(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL));
  const bool attachFailed = TakeAttachFailure();
  const HMODULE module = library ? ImageOfLibrary(library.get()) : nullptr;
  if (!module || attachFailed) {
    library.reset();
    SetLastError(attachFailed ? ERROR_DLL_INIT_FAILED : ERROR_BAD_EXE_FORMAT);
    return nullptr;
  }
  std::lock_guard lock(Loaded().mutex);
  Loaded().references.emplace(module, std::move(library));
  return module;
}

/// Takes one more reference on a module, unless it is one that always stays. False when it is being unloaded.
bool Refer(HMODULE module) {
  if (module == Program() || !SystemModuleName(module).empty()) return true;
  const auto image = FindImage(module);
  Library library(image ? dlopen(image->path.c_str(), RTLD_LAZY | RTLD_NOLOAD) : nullptr);
  if (!library) return false;
  std::lock_guard lock(Loaded().mutex);
  Loaded().references.emplace(module, std::move(library));
  return true;
}

HMODULE FindLoaded(std::u16string_view name) {
  const bool bare = IsBareName(name);
  const auto files = bare ? std::vector<std::string>() : ModuleFiles(name);
  for (const Image& image : LoadedImages()) {
    const bool found =
        bare ? IsModuleFile(image.path, name) : std::find(files.begin(), files.end(), image.path) != files.end();
    if (found) return image.module;
  }
  return nullptr;
}

/// The function that the image itself exports. The dynamic loader would also look through what the image depends on,
/// and take a function of the program for one that a plug-in lacks.
FARPROC FindExport(const Image& image, LPCSTR name) {
  const char* path = image.module == Program() ? nullptr : image.path.c_str();
  const Library library(dlopen(path, RTLD_LAZY | RTLD_NOLOAD));
  void* address = library ? dlsym(library.get(), name) : nullptr;
  return address && ImageOf(address) == image.module ? reinterpret_cast<FARPROC>(address) : nullptr;
}

}  // namespace
}  // namespace portwise::platform

using namespace portwise::platform;

HMODULE WINAPI LoadLibraryW(LPCWSTR name) {
  if (!name || !*name) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  if (const HMODULE module = FindSystemModule(ToUtf8(name))) return module;
  for (const auto& path : ModuleFiles(name)) {
    std::error_code error;
    if (std::filesystem::is_regular_file(path, error)) return LoadFile(path);
  }
  SetLastError(ERROR_MOD_NOT_FOUND);
  return nullptr;
}

HMODULE WINAPI LoadLibraryExW(LPCWSTR name, HANDLE, DWORD flags) {
  constexpr DWORD kAsData =
      LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE | LOAD_LIBRARY_AS_DATAFILE_EXCLUSIVE;
  if (!(flags & kAsData) || !name || !*name) return LoadLibraryW(name);
  for (const auto& path : ModuleFiles(name)) {
    std::error_code error;
    if (std::filesystem::is_regular_file(path, error)) return OpenDataModule(path);
  }
  SetLastError(ERROR_FILE_NOT_FOUND);
  return nullptr;
}

HMODULE WINAPI GetModuleHandleW(LPCWSTR name) {
  if (!name) return Program();
  HMODULE module = FindSystemModule(ToUtf8(name));
  if (!module && *name) module = FindLoaded(name);
  if (!module) SetLastError(ERROR_MOD_NOT_FOUND);
  return module;
}

BOOL WINAPI GetModuleHandleExW(DWORD flags, LPCWSTR name, HMODULE* module) {
  if (!module || (flags & GET_MODULE_HANDLE_EX_FLAG_PIN)) return Fail(ERROR_INVALID_PARAMETER);
  const bool fromAddress = (flags & GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS) != 0;
  const HMODULE found = fromAddress ? ImageOf(name) : GetModuleHandleW(name);
  *module = nullptr;
  if (!found) return Fail(ERROR_MOD_NOT_FOUND);
  const bool counts = !(flags & GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT);
  if (counts && !Refer(found)) return Fail(ERROR_MOD_NOT_FOUND);
  *module = found;
  return TRUE;
}

FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name) {
  if (!module) module = Program();
  FARPROC function = nullptr;
  // Numbers below 64 Ki are ordinals, which libraries do not have here.
  const bool ordinal = reinterpret_cast<ULONG_PTR>(name) < 0x10000;
  if (const auto system = SystemModuleName(module); !system.empty()) {
    if (!ordinal) FindSystemFunction(system, name, &function);
  } else if (const auto image = FindImage(module)) {
    if (!ordinal) function = FindExport(*image, name);
  } else {
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
  }
  if (!function) SetLastError(ERROR_PROC_NOT_FOUND);
  return function;
}

BOOL WINAPI FreeLibrary(HMODULE module) {
  if (!SystemModuleName(module).empty() || CloseDataModule(module)) return TRUE;
  Library freed;  // without the lock
  std::lock_guard lock(Loaded().mutex);
  const auto reference = Loaded().references.find(module);
  if (reference == Loaded().references.end()) {
    // What the program was linked with stays.
    return FindImage(module) ? TRUE : Fail(ERROR_MOD_NOT_FOUND);
  }
  freed = std::move(reference->second);
  Loaded().references.erase(reference);
  return TRUE;
}

DWORD WINAPI GetModuleFileNameW(HMODULE module, LPWSTR path, DWORD size) {
  std::u16string text;
  if (const auto system = SystemModuleName(module); !system.empty()) {
    text = u"C:\\Windows\\System32\\" + ToUtf16(system);
  } else if (const auto image = FindImage(module ? module : Program())) {
    text = WindowsPath(image->path);
  } else if (const auto data = PathOfDataModule(module); !data.empty()) {
    text = WindowsPath(data);
  } else {
    SetLastError(ERROR_MOD_NOT_FOUND);
    return 0;
  }
  if (text.size() < size) return CopyText(text, path, size);
  if (size > 0) {
    text.copy(path, size - 1);
    path[size - 1] = 0;
  }
  SetLastError(ERROR_INSUFFICIENT_BUFFER);
  return size;
}
