#include "platform/windows/dialog_template_reader.h"

#include <cstring>

#include "platform/windows/controls.h"

namespace portwise::platform {
namespace {

class Reader {
 public:
  explicit Reader(const void* bytes) : start_(static_cast<const char*>(bytes)), at_(start_) {}

  template <class Value>
  Value Read() {
    Value value;
    std::memcpy(&value, at_, sizeof value);
    at_ += sizeof value;
    return value;
  }
  std::u16string ReadText() {
    std::u16string text;
    while (const auto unit = Read<WCHAR>()) text += unit;
    return text;
  }
  /// A text, or 0xFFFF and a number.
  std::u16string ReadName(WORD* number) {
    WORD first;
    std::memcpy(&first, at_, sizeof first);
    *number = 0;
    if (first != 0xFFFF) return ReadText();
    Read<WORD>();
    *number = Read<WORD>();
    return {};
  }
  void Skip(std::size_t bytes) { at_ += bytes; }
  /// To the next multiple of 4 from the template's start.
  void Align() { at_ += (4 - (at_ - start_) % 4) % 4; }

 private:
  const char* const start_;
  const char* at_;
};

template <class Described>
void ReadPlace(Reader& reader, Described* described) {
  described->x = reader.Read<SHORT>();
  described->y = reader.Read<SHORT>();
  described->width = reader.Read<SHORT>();
  described->height = reader.Read<SHORT>();
}

DialogItem ReadItem(Reader& reader, bool extended) {
  DialogItem item;
  reader.Align();
  if (extended) {
    reader.Read<DWORD>();  // help
    item.extendedStyle = reader.Read<DWORD>();
    item.style = reader.Read<DWORD>();
  } else {
    item.style = reader.Read<DWORD>();
    item.extendedStyle = reader.Read<DWORD>();
  }
  ReadPlace(reader, &item);
  // An id of -1 is a control that nobody asks for.
  item.id = extended ? reader.Read<int>() : reader.Read<WORD>();
  WORD number = 0;
  item.className = reader.ReadName(&number);
  if (number != 0) item.className = ControlClassName(number);
  item.text = reader.ReadName(&item.textNumber);
  const auto more = reader.Read<WORD>();
  // In the older version the count includes itself.
  reader.Skip(extended || more == 0 ? more : more - sizeof more);
  return item;
}

}  // namespace

DialogTemplate ReadDialogTemplate(const void* bytes) {
  DialogTemplate dialog;
  Reader reader(bytes);
  const auto* words = static_cast<const WORD*>(bytes);
  const bool extended = words[0] == 1 && words[1] == 0xFFFF;
  if (extended) {
    reader.Skip(2 * sizeof(WORD) + sizeof(DWORD));  // version, help
    dialog.extendedStyle = reader.Read<DWORD>();
    dialog.style = reader.Read<DWORD>();
  } else {
    dialog.style = reader.Read<DWORD>();
    dialog.extendedStyle = reader.Read<DWORD>();
  }
  const auto count = reader.Read<WORD>();
  ReadPlace(reader, &dialog);
  WORD number;
  reader.ReadName(&number);  // the menu, which no dialog of ours has
  reader.ReadName(&number);  // the class
  dialog.title = reader.ReadText();
  if (dialog.style & DS_SETFONT) {
    dialog.fontSize = reader.Read<WORD>();
    if (extended) reader.Skip(sizeof(WORD) + 2 * sizeof(BYTE));  // weight, italic, character set
    dialog.fontFace = reader.ReadText();
  }
  for (WORD item = 0; item < count; ++item) dialog.items.push_back(ReadItem(reader, extended));
  return dialog;
}

}  // namespace portwise::platform
