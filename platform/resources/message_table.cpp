#include "platform/resources/message_table.h"

#include "platform/resources/byte_view.h"
#include "platform/text.h"

namespace portwise::platform {
namespace {

/// A run of identifiers, whose entries follow one another from `offset` in the table.
struct Block {
  DWORD first, last, offset;
};

/// What an entry begins with; its length counts this header and the padding of the text.
struct EntryHeader {
  WORD length, flags;
};
constexpr WORD kUnicode = 1;

std::u16string TextOf(std::string_view bytes, bool unicode) {
  std::u16string text;
  if (unicode) {
    text.resize(bytes.size() / sizeof(WCHAR));
    std::memcpy(text.data(), bytes.data(), text.size() * sizeof(WCHAR));
  } else {
    text = ToUtf16(bytes);
  }
  return text.substr(0, text.find(u'\0'));
}

}  // namespace

bool FindMessage(std::string_view table, DWORD messageId, std::u16string* text) {
  const ByteView view(table);
  DWORD blocks = 0;
  if (!view.Read(0, &blocks)) return false;
  Block block;
  for (std::uint64_t index = 0; index < blocks && view.Read(sizeof blocks + index * sizeof block, &block); ++index) {
    if (messageId < block.first || messageId > block.last) continue;
    std::uint64_t offset = block.offset;
    EntryHeader entry;
    for (DWORD id = block.first; view.Read(offset, &entry) && entry.length >= sizeof entry; ++id) {
      std::string_view bytes;
      if (id < messageId) {
        offset += entry.length;
        continue;
      }
      if (!view.Part(offset + sizeof entry, entry.length - sizeof entry, &bytes)) return false;
      *text = TextOf(bytes, entry.flags & kUnicode);
      return true;
    }
    return false;
  }
  return false;
}

}  // namespace portwise::platform
