#include "platform/kernel/image_file.h"

#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "platform/kernel/unique_fd.h"

namespace portwise::platform {
namespace {

bool ReadAt(const UniqueFd& file, ElfW(Off) offset, void* bytes, std::size_t size) {
  return pread(file.Get(), bytes, size, static_cast<off_t>(offset)) == static_cast<ssize_t>(size);
}

}  // namespace

bool IsWholeImageFile(const std::string& path) {
  constexpr unsigned char kClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
  const UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  ElfW(Ehdr) header;
  if (!file || fstat(file.Get(), &status) != 0 || !ReadAt(file, 0, &header, sizeof header)) return false;
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != kClass) return false;
  std::vector<ElfW(Phdr)> segments(header.e_phnum);
  if (header.e_phentsize != sizeof(ElfW(Phdr))) return false;
  if (!ReadAt(file, header.e_phoff, segments.data(), segments.size() * sizeof segments[0])) return false;
  const auto size = static_cast<ElfW(Off)>(status.st_size);
  return std::all_of(segments.begin(), segments.end(), [size](const ElfW(Phdr) & segment) {
    if (segment.p_type != PT_LOAD) return true;
    return segment.p_offset <= size && segment.p_filesz <= size - segment.p_offset;
  });
}

}  // namespace portwise::platform
