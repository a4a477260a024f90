// The resources of a PE file, or of an ELF file that carries one, and the version resource among them.

#include <windows.h>
#include <winver.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "platform/resources/elf_note.h"
#include "platform/resources/resource_file.h"

using namespace portwise::platform;

namespace {

void AskVersion(std::string_view resource) {
  WORD length = 0;
  if (!ByteView(resource).Read(0, &length) || length < sizeof length || length > resource.size()) return;
  const std::vector<char> block(resource.begin(), resource.begin() + length);
  for (LPCWSTR path : {u"\\", u"\\StringFileInfo\\040904B0\\ProductVersion", u"\\VarFileInfo\\Translation"}) {
    void* value = nullptr;
    UINT size = 0;
    if (!VerQueryValueW(block.data(), path, &value, &size)) continue;
    const auto offset = static_cast<std::size_t>(static_cast<char*>(value) - block.data());
    if (offset > block.size() || size > block.size() - offset) std::abort();
  }
}

void AskImage(std::string_view image) {
  const auto file = ResourceFile::OfImage(image);
  if (!file) return;
  for (WORD type = 1; type <= 16; ++type) {
    for (const ResourceName& name : {ResourceName(1), ResourceName(876), ResourceName(u"DLG_QUERY1")}) {
      std::string_view bytes;
      if (!file->Find(type, name, &bytes)) continue;
      if (bytes.data() < image.data() || bytes.data() + bytes.size() > image.data() + image.size()) std::abort();
      if (type == 16) AskVersion(bytes);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  AskImage(bytes);
  for (const std::string_view segment : NoteSegmentsOfFile(bytes)) {
    if (const auto image = FindResourceNote(segment)) AskImage(*image);
  }
  return 0;
}
