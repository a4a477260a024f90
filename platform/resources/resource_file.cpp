#include "platform/resources/resource_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

#include "platform/kernel/errno_map.h"
#include "platform/kernel/fail.h"
#include "platform/kernel/unique_fd.h"
#include "platform/resources/elf_note.h"
#include "platform/text.h"

namespace portwise::platform {
namespace {

constexpr off_t kMaxFile = 64 << 20;

// Offsets of the PE format.
constexpr std::uint64_t kAtNewHeader = 0x3C;
constexpr DWORD kSignature = 0x00004550;  // "PE", NUL, NUL
constexpr std::uint64_t kAtSectionCount = 6;
constexpr std::uint64_t kAtOptionalSize = 20;
constexpr std::uint64_t kOptionalHeader = 24;
constexpr WORD kMagic32 = 0x10b;
constexpr WORD kMagic64 = 0x20b;
/// In the optional header: the number of data directories and the address of the resources', the third of them.
constexpr std::uint64_t kDirectoryCount32 = 92;
constexpr std::uint64_t kDirectoryCount64 = 108;
constexpr std::uint64_t kFromCountToResources = 4 + 2 * 8;
constexpr std::uint64_t kSectionSize = 40;

/// A directory of resources: 16 bytes, of which the last two words count the entries, then entries of 8 bytes, first
/// those with text for a name.
constexpr std::uint64_t kDirectorySize = 16;
constexpr std::uint64_t kEntrySize = 8;
constexpr DWORD kHighBit = 0x80000000;

bool ReadWhole(const std::string& path, std::string* bytes) {
  // Opening a pipe must not wait for its other end.
  const UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (!file || fstat(file.Get(), &status) != 0) return Fail(ErrorOfErrno(errno));
  if (!S_ISREG(status.st_mode) || status.st_size > kMaxFile) return Fail(ERROR_BAD_EXE_FORMAT);
  bytes->resize(static_cast<std::size_t>(status.st_size));
  std::size_t have = 0;
  while (have < bytes->size()) {
    const ssize_t size = read(file.Get(), bytes->data() + have, bytes->size() - have);
    if (size < 0 && errno == EINTR) continue;
    if (size < 0) return Fail(ErrorOfErrno(errno));
    if (size == 0) break;
    have += static_cast<std::size_t>(size);
  }
  bytes->resize(have);
  return true;
}

}  // namespace

std::unique_ptr<ResourceFile> ResourceFile::Open(const std::string& linuxPath) {
  std::unique_ptr<ResourceFile> file(new ResourceFile);
  if (!ReadWhole(linuxPath, &file->file_)) return nullptr;
  if (file->ReadHeaders(file->file_)) return file;
  for (const std::string_view segment : NoteSegmentsOfFile(file->file_)) {
    const auto image = FindResourceNote(segment);
    if (image && file->ReadHeaders(*image)) return file;
  }
  SetLastError(ERROR_BAD_EXE_FORMAT);
  return nullptr;
}

std::unique_ptr<ResourceFile> ResourceFile::OfImage(std::string_view image) {
  std::unique_ptr<ResourceFile> file(new ResourceFile);
  return file->ReadHeaders(image) ? std::move(file) : nullptr;
}

bool ResourceFile::ReadHeaders(std::string_view image) {
  image_ = image;
  const ByteView file(image_);
  DWORD header = 0, signature = 0, directoryCount = 0, address = 0;
  WORD optionalSize = 0, magic = 0;
  if (!image_.starts_with("MZ") || !file.Read(kAtNewHeader, &header) || !file.Read(header, &signature)) return false;
  const std::uint64_t optional = header + kOptionalHeader;
  if (signature != kSignature || !file.Read(header + kAtSectionCount, &sectionCount_) ||
      !file.Read(header + kAtOptionalSize, &optionalSize) || !file.Read(optional, &magic)) {
    return false;
  }
  if (magic != kMagic32 && magic != kMagic64) return false;
  const std::uint64_t count = optional + (magic == kMagic32 ? kDirectoryCount32 : kDirectoryCount64);
  if (!file.Read(count, &directoryCount) || directoryCount < 3 || !file.Read(count + kFromCountToResources, &address)) {
    return false;
  }
  sections_ = optional + optionalSize;
  return address != 0 && FromAddress(address, &directory_);
}

bool ResourceFile::FromAddress(DWORD address, std::string_view* bytes) const {
  struct {
    DWORD virtualSize, virtualAddress, fileSize, fileOffset;
  } section;
  constexpr std::uint64_t kAfterName = 8;
  const ByteView file(image_);
  for (std::uint64_t index = 0; index < sectionCount_; ++index) {
    if (!file.Read(sections_ + index * kSectionSize + kAfterName, &section)) return false;
    if (address < section.virtualAddress || address - section.virtualAddress >= section.fileSize) continue;
    const DWORD start = address - section.virtualAddress;
    return file.Part(std::uint64_t{section.fileOffset} + start, section.fileSize - start, bytes);
  }
  return false;
}

bool ResourceFile::Find(const ResourceName& type, const ResourceName& name, std::string_view* bytes) const {
  const void* entry = FindEntry(type, name, nullptr);
  return entry && EntryBytes(entry, bytes);
}

const void* ResourceFile::FindEntry(const ResourceName& type, const ResourceName& name, const WORD* language) const {
  constexpr std::uint64_t kDataEntrySize = 16;
  DWORD offset = 0, missing = ERROR_SUCCESS;
  std::string_view entry;
  const ResourceName wanted(language ? *language : WORD{0});
  if (!Descend(&type, true, &offset)) {
    missing = ERROR_RESOURCE_TYPE_NOT_FOUND;
  } else if (!Descend(&name, true, &offset)) {
    missing = ERROR_RESOURCE_NAME_NOT_FOUND;
  } else if (!Descend(language ? &wanted : nullptr, false, &offset)) {
    missing = ERROR_RESOURCE_LANG_NOT_FOUND;
  } else if (!ByteView(directory_).Part(offset, kDataEntrySize, &entry)) {
    missing = ERROR_RESOURCE_DATA_NOT_FOUND;
  }
  if (missing != ERROR_SUCCESS) SetLastError(missing);
  return entry.data();
}

bool ResourceFile::EntryBytes(const void* entry, std::string_view* bytes) const {
  // An address before the directory gives a huge offset, which no directory has.
  const std::uint64_t offset =
      reinterpret_cast<std::uintptr_t>(entry) - reinterpret_cast<std::uintptr_t>(directory_.data());
  DWORD address = 0, size = 0;
  const ByteView directory(directory_);
  std::string_view section;
  return directory.Read(offset, &address) && directory.Read(offset + sizeof address, &size) &&
         FromAddress(address, &section) && ByteView(section).Part(0, size, bytes);
}

bool ResourceFile::Descend(const ResourceName* name, bool toDirectory, DWORD* offset) const {
  WORD named = 0, numbered = 0;
  const ByteView directory(directory_);
  if (!directory.Read(std::uint64_t{*offset} + kDirectorySize - 4, &named) ||
      !directory.Read(std::uint64_t{*offset} + kDirectorySize - 2, &numbered)) {
    return false;
  }
  for (std::uint64_t index = 0; index < std::uint64_t{named} + numbered; ++index) {
    struct {
      DWORD name, target;
    } entry;
    if (!directory.Read(*offset + kDirectorySize + index * kEntrySize, &entry)) return false;
    if (name && !IsNamed(entry.name, *name)) continue;
    *offset = entry.target & ~kHighBit;
    return ((entry.target & kHighBit) != 0) == toDirectory;
  }
  return false;
}

bool ResourceFile::IsNamed(DWORD entryName, const ResourceName& name) const {
  if (!name.IsText()) return entryName == name.Number();
  const DWORD at = entryName & ~kHighBit;
  WORD length = 0;
  std::string_view units;
  const ByteView directory(directory_);
  if (!(entryName & kHighBit) || !directory.Read(at, &length) || length != name.Text().size() ||
      !directory.Part(std::uint64_t{at} + sizeof length, length * sizeof(WCHAR), &units)) {
    return false;
  }
  std::u16string text(length, u'\0');
  std::memcpy(text.data(), units.data(), units.size());
  return FoldCase(text) == FoldCase(name.Text());
}

}  // namespace portwise::platform
