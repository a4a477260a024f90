#include "platform/dump/memory_map.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <fstream>
#include <string>

#include "platform/kernel/unique_fd.h"

namespace portwise::platform {

std::vector<MemoryRegion> MemoryMap() {
  std::vector<MemoryRegion> regions;
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    MemoryRange range{};
    char access[5] = {};
    if (std::sscanf(line.c_str(), "%" SCNx64 "-%" SCNx64 " %4s", &range.begin, &range.end, access) != 3) continue;
    regions.push_back({range, access[0] == 'r' && access[1] == 'w' && access[3] == 'p'});
  }
  return regions;
}

std::vector<MemoryRange> PresentParts(const MemoryRange& range) {
  // One word a page; the highest bits say that it is in memory, or swapped out.
  constexpr DWORD64 kPresent = DWORD64{3} << 62;
  constexpr DWORD64 kLimit = DWORD64{1} << 30;
  static const auto page = static_cast<DWORD64>(sysconf(_SC_PAGESIZE));
  std::vector<MemoryRange> parts;
  const UniqueFd pages(open("/proc/self/pagemap", O_RDONLY | O_CLOEXEC));
  const DWORD64 end = std::min(range.end, range.begin + kLimit);
  std::vector<DWORD64> words(4096);
  for (DWORD64 next = range.begin; next < end;) {
    const auto wanted = std::min<DWORD64>(words.size(), (end - next) / page);
    const ssize_t bytes =
        pread(pages.Get(), words.data(), wanted * sizeof(DWORD64), static_cast<off_t>(next / page * sizeof(DWORD64)));
    if (bytes < static_cast<ssize_t>(sizeof(DWORD64))) break;
    for (size_t i = 0; i < static_cast<size_t>(bytes) / sizeof(DWORD64); ++i, next += page) {
      if (!(words[i] & kPresent)) continue;
      if (!parts.empty() && parts.back().end == next) {
        parts.back().end += page;
      } else {
        parts.push_back({next, next + page});
      }
    }
  }
  return parts;
}

std::vector<MemoryRange> Without(const std::vector<MemoryRange>& ranges, const MemoryRange& hole) {
  std::vector<MemoryRange> rest;
  for (const MemoryRange& range : ranges) {
    const MemoryRange below{range.begin, std::min(range.end, hole.begin)};
    const MemoryRange above{std::max(range.begin, hole.end), range.end};
    if (below.begin < below.end) rest.push_back(below);
    if (above.begin < above.end) rest.push_back(above);
  }
  return rest;
}

}  // namespace portwise::platform
