#include "platform/dump/image_records.h"

#include <elf.h>
#include <link.h>

#include <algorithm>
#include <cstring>

#include "platform/kernel/images.h"
#include "platform/kernel/own_memory.h"

namespace portwise::platform {
namespace {

constexpr size_t kLargestNotes = 64 << 10;

template <class Record>
std::vector<Record> ReadRecords(DWORD64 address, size_t count) {
  std::vector<Record> records(count);
  const size_t size = count * sizeof(Record);
  if (ReadOwnMemory(reinterpret_cast<const void*>(address), records.data(), size) != size) records.clear();
  return records;
}

size_t RoundTo4(size_t size) { return (size + 3) & ~size_t{3}; }

/// The build id among a segment's notes.
std::vector<BYTE> FindBuildId(const std::vector<BYTE>& notes) {
  size_t at = 0;
  while (at + sizeof(ElfW(Nhdr)) <= notes.size()) {
    ElfW(Nhdr) note;
    std::memcpy(&note, &notes[at], sizeof note);
    const size_t name = at + sizeof note;
    const size_t content = name + RoundTo4(note.n_namesz);
    if (content > notes.size() || note.n_descsz > notes.size() - content) break;
    if (note.n_type == NT_GNU_BUILD_ID && note.n_namesz == 4 && std::memcmp(&notes[name], "GNU", 4) == 0) {
      return {notes.begin() + static_cast<ptrdiff_t>(content),
              notes.begin() + static_cast<ptrdiff_t>(content + note.n_descsz)};
    }
    at = content + RoundTo4(note.n_descsz);
  }
  return {};
}

/// Reads the image's own headers, which lie at its start.
ImageRecord RecordOf(const Image& image) {
  const auto base = reinterpret_cast<DWORD64>(image.module);
  ImageRecord record{{base, base}, image.path, {}};
  const auto header = ReadRecords<ElfW(Ehdr)>(base, 1);
  if (header.empty() || std::memcmp(header[0].e_ident, ELFMAG, SELFMAG) != 0) return record;
  const auto segments = ReadRecords<ElfW(Phdr)>(base + header[0].e_phoff, header[0].e_phnum);
  const auto first = std::find_if(segments.begin(), segments.end(), [](const auto& s) { return s.p_type == PT_LOAD; });
  if (first == segments.end()) return record;
  const DWORD64 bias = base - (first->p_vaddr - first->p_offset);
  for (const auto& segment : segments) {
    if (segment.p_type == PT_LOAD) record.range.end = bias + segment.p_vaddr + segment.p_memsz;
    if (segment.p_type == PT_NOTE && record.buildId.empty()) {
      record.buildId =
          FindBuildId(ReadRecords<BYTE>(bias + segment.p_vaddr, std::min(segment.p_filesz, kLargestNotes)));
    }
  }
  return record;
}

}  // namespace

std::vector<ImageRecord> ImageRecords() {
  std::vector<ImageRecord> records;
  for (const Image& image : LoadedImages()) records.push_back(RecordOf(image));
  return records;
}

}  // namespace portwise::platform
