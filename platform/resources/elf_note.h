#pragma once

#include <optional>
#include <string_view>
#include <vector>

// What the note of an ELF image is known by whose content is a PE file with the image's resources. Macros, because the
// assembler reads them too.
#define PORTWISE_RESOURCE_NOTE_NAME "portwise"
#define PORTWISE_RESOURCE_NOTE_TYPE "0x52534343"

namespace portwise::platform {

/// The resources' PE file among the notes that `segment`, a segment of notes, holds. Nothing is trusted.
std::optional<std::string_view> FindResourceNote(std::string_view segment);

/// The segments of notes of an ELF file of this machine's kind, given its bytes; none when the file is no such one.
std::vector<std::string_view> NoteSegmentsOfFile(std::string_view file);

}  // namespace portwise::platform
