#include "platform/kernel/images.h"

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <functional>

namespace portwise::platform {
namespace {

using Visitor = std::function<bool(const dl_phdr_info&)>;

/// Visits the loaded images until `visitor` returns true.
void VisitImages(const Visitor& visitor) {
  const auto call = [](dl_phdr_info* info, size_t, void* data) -> int {
    return (*static_cast<const Visitor*>(data))(*info);
  };
  dl_iterate_phdr(call, const_cast<Visitor*>(&visitor));
}

/// The range of addresses that the image's segments span, from a page's start.
struct Span {
  ElfW(Addr) begin = ~ElfW(Addr){0};
  ElfW(Addr) end = 0;
};
Span SpanOf(const dl_phdr_info& info) {
  static const auto page = static_cast<ElfW(Addr)>(sysconf(_SC_PAGESIZE));
  Span span;
  for (int i = 0; i < info.dlpi_phnum; ++i) {
    const auto& segment = info.dlpi_phdr[i];
    if (segment.p_type != PT_LOAD) continue;
    span.begin = std::min(span.begin, info.dlpi_addr + (segment.p_vaddr & ~(page - 1)));
    span.end = std::max(span.end, info.dlpi_addr + segment.p_vaddr + segment.p_memsz);
  }
  return span;
}

HMODULE ModuleAt(const Span& span) { return reinterpret_cast<HMODULE>(span.begin); }

std::string PathOf(const dl_phdr_info& info) {
  std::error_code error;
  // The dynamic loader knows the program, and nothing else, by an empty name.
  if (!*info.dlpi_name) return std::filesystem::read_symlink("/proc/self/exe", error).string();
  return std::filesystem::absolute(info.dlpi_name, error).lexically_normal().string();
}

/// The names of the libraries that an image was linked with.
std::vector<std::string_view> NeededBy(const link_map& map) {
  const char* names = nullptr;
  for (const ElfW(Dyn)* entry = map.l_ld; entry->d_tag != DT_NULL; ++entry) {
    if (entry->d_tag == DT_STRTAB) names = reinterpret_cast<const char*>(entry->d_un.d_ptr);
  }
  std::vector<std::string_view> needed;
  for (const ElfW(Dyn)* entry = map.l_ld; names && entry->d_tag != DT_NULL; ++entry) {
    if (entry->d_tag == DT_NEEDED) needed.emplace_back(names + entry->d_un.d_val);
  }
  return needed;
}

bool HasFileName(const link_map& map, std::string_view name) {
  const std::string_view path = map.l_name;
  return path.substr(path.rfind('/') + 1) == name.substr(name.rfind('/') + 1);
}

}  // namespace

std::vector<Image> LoadedImages() {
  std::vector<Image> images;
  VisitImages([&images](const dl_phdr_info& info) {
    images.push_back({ModuleAt(SpanOf(info)), PathOf(info)});
    return false;
  });
  return images;
}

HMODULE ImageOf(const void* address) {
  const auto value = reinterpret_cast<ElfW(Addr)>(address);
  HMODULE module = nullptr;
  VisitImages([&](const dl_phdr_info& info) {
    const Span span = SpanOf(info);
    if (value < span.begin || value >= span.end) return false;
    module = ModuleAt(span);
    return true;
  });
  return module;
}

HMODULE ImageOfLibrary(void* library) {
  const link_map* map = nullptr;
  return dlinfo(library, RTLD_DI_LINKMAP, &map) == 0 ? ImageOf(map->l_ld) : nullptr;
}

bool CameWithProgram(HMODULE module) {
  std::vector<const link_map*> found{_r_debug.r_map};  // the program, which is the first of the list
  for (size_t i = 0; i < found.size(); ++i) {
    for (const std::string_view name : NeededBy(*found[i])) {
      const link_map* map = _r_debug.r_map->l_next;
      while (map && !HasFileName(*map, name)) map = map->l_next;
      if (!map || std::find(found.begin(), found.end(), map) != found.end()) continue;
      if (ImageOf(map->l_ld) == module) return true;
      found.push_back(map);
    }
  }
  return false;
}

std::optional<Image> FindImage(HMODULE module) {
  std::optional<Image> image;
  VisitImages([&](const dl_phdr_info& info) {
    if (ModuleAt(SpanOf(info)) != module) return false;
    image = {module, PathOf(info)};
    return true;
  });
  return image;
}

std::vector<std::string_view> NoteSegments(HMODULE module) {
  std::vector<std::string_view> segments;
  VisitImages([&](const dl_phdr_info& info) {
    if (ModuleAt(SpanOf(info)) != module) return false;
    for (int i = 0; i < info.dlpi_phnum; ++i) {
      const auto& segment = info.dlpi_phdr[i];
      const auto address = info.dlpi_addr + segment.p_vaddr;
      if (segment.p_type == PT_NOTE) segments.emplace_back(reinterpret_cast<const char*>(address), segment.p_memsz);
    }
    return true;
  });
  return segments;
}

}  // namespace portwise::platform
