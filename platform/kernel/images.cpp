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
