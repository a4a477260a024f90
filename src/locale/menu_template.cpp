#include "locale/menu_template.h"

#include <windows.h>

#include <cstring>
#include <vector>

namespace portwise {
namespace {

/// Reads an item's parts one after the other.
class ItemReader {
 public:
  ItemReader(const void* menu, size_t size) : data_(static_cast<const BYTE*>(menu)), size_(size) {}

  bool Skip(size_t bytes) {
    if (size_ - at_ < bytes) return false;
    at_ += bytes;
    return true;
  }
  bool ReadWord(WORD* word) {
    if (!Skip(sizeof *word)) return false;
    std::memcpy(word, data_ + at_ - sizeof *word, sizeof *word);
    return true;
  }
  bool SkipText() {
    WORD unit = 0;
    do {
      if (!ReadWord(&unit)) return false;
    } while (unit != 0);
    return true;
  }
  bool Align() { return Skip((4 - at_ % 4) % 4); }

 private:
  const BYTE* data_;
  size_t size_;
  size_t at_ = 0;
};

struct Item {
  bool popup, last;
};

/// Flags, a number unless it is a popup, a text.
bool ReadClassic(ItemReader& reader, Item* item) {
  constexpr WORD kPopup = 0x10, kLast = 0x80;
  WORD flags = 0;
  if (!reader.ReadWord(&flags)) return false;
  *item = {(flags & kPopup) != 0, (flags & kLast) != 0};
  return (item->popup || reader.Skip(sizeof(WORD))) && reader.SkipText();
}

/// From a multiple of 4 on: type, state, number; flags, a text, and for a popup the number of its help.
bool ReadExtended(ItemReader& reader, Item* item) {
  constexpr WORD kPopup = 0x1, kLast = 0x80;
  WORD flags = 0;
  if (!reader.Align() || !reader.Skip(3 * sizeof(DWORD)) || !reader.ReadWord(&flags)) return false;
  *item = {(flags & kPopup) != 0, (flags & kLast) != 0};
  return reader.SkipText() && (!item->popup || (reader.Align() && reader.Skip(sizeof(DWORD))));
}

}  // namespace

bool IsWholeMenuTemplate(const void* menu, size_t size) {
  ItemReader reader(menu, size);
  WORD version = 0, offset = 0;
  if (!reader.ReadWord(&version) || version > 1 || !reader.ReadWord(&offset) || !reader.Skip(offset)) return false;
  std::vector<bool>
      lastAbove;  // for each open menu below the first, whether its popup is the last item of its own menu
  for (bool ended = false; !ended;) {
    Item item{};
    if (!(version == 0 ? ReadClassic(reader, &item) : ReadExtended(reader, &item))) return false;
    if (item.popup) {
      lastAbove.push_back(item.last);
      continue;
    }
    for (ended = item.last; ended && !lastAbove.empty(); lastAbove.pop_back()) ended = lastAbove.back();
  }
  return true;
}

}  // namespace portwise
