#include "platform/resources/elf_note.h"

#include <elf.h>
#include <link.h>

#include <cstdlib>

#include "platform/resources/byte_view.h"

namespace portwise::platform {
namespace {

constexpr std::uint64_t RoundUp(std::uint64_t size) { return (size + 3) & ~std::uint64_t{3}; }

}  // namespace

std::optional<std::string_view> FindResourceNote(std::string_view segment) {
  static constexpr std::string_view kName(PORTWISE_RESOURCE_NOTE_NAME, sizeof PORTWISE_RESOURCE_NOTE_NAME);
  static const auto type = static_cast<ElfW(Word)>(std::strtoul(PORTWISE_RESOURCE_NOTE_TYPE, nullptr, 16));
  const ByteView view(segment);
  ElfW(Nhdr) note;
  for (std::uint64_t offset = 0; view.Read(offset, &note);) {
    const std::uint64_t nameAt = offset + sizeof note;
    const std::uint64_t contentAt = nameAt + RoundUp(note.n_namesz);
    std::string_view name, content;
    if (!view.Part(nameAt, note.n_namesz, &name) || !view.Part(contentAt, note.n_descsz, &content)) break;
    if (note.n_type == type && name == kName) return content;
    offset = contentAt + RoundUp(note.n_descsz);
  }
  return std::nullopt;
}

std::vector<std::string_view> NoteSegmentsOfFile(std::string_view file) {
  static constexpr unsigned char kClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
  std::vector<std::string_view> segments;
  const ByteView view(file);
  ElfW(Ehdr) header;
  if (!view.Read(0, &header) || !file.starts_with(ELFMAG) || header.e_ident[EI_CLASS] != kClass) return segments;
  ElfW(Phdr) segment;
  for (std::uint64_t index = 0; index < header.e_phnum; ++index) {
    std::string_view bytes;
    if (header.e_phoff > file.size() || !view.Read(header.e_phoff + index * sizeof segment, &segment)) break;
    if (segment.p_type == PT_NOTE && view.Part(segment.p_offset, segment.p_filesz, &bytes)) segments.push_back(bytes);
  }
  return segments;
}

}  // namespace portwise::platform
