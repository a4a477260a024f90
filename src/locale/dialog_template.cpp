#include "locale/dialog_template.h"

#include <windows.h>

#include <algorithm>
#include <cstring>

namespace portwise {
namespace {

constexpr size_t kUnit = sizeof(WCHAR);
constexpr DWORD kSetFont = 0x40;  // DS_SETFONT

// What comes before the menu, the class and the title, and the fields of the font before its face name.
constexpr size_t kClassicHeader = 18;
constexpr size_t kExtendedHeader = 26;
constexpr size_t kClassicFont = 2;   // point size
constexpr size_t kExtendedFont = 6;  // point size, weight, italic, character set

constexpr size_t RoundUp(size_t size) { return (size + 3) & ~size_t{3}; }

/// Goes through a template; reads past its end fail.
class Walker {
 public:
  explicit Walker(const OBuffer& dialog) : data_(dialog.Data()), size_(dialog.Size()) {}

  bool Skip(size_t bytes) {
    if (size_ - at_ < bytes) return false;
    at_ += bytes;
    return true;
  }
  template <class Value>
  bool Read(size_t offset, Value* value) const {
    if (offset > size_ || size_ - offset < sizeof *value) return false;
    std::memcpy(value, data_ + offset, sizeof *value);
    return true;
  }
  /// A NUL-terminated text.
  bool SkipText() {
    WCHAR unit = 0;
    do {
      if (!Read(at_, &unit)) return false;
      at_ += kUnit;
    } while (unit != 0);
    return true;
  }
  /// A text, or 0xFFFF and a number.
  bool SkipName() {
    WORD first = 0;
    return Read(at_, &first) && (first == 0xFFFF ? Skip(2 * sizeof first) : SkipText());
  }
  size_t At() const { return at_; }

 private:
  const BYTE* data_;
  size_t size_;
  size_t at_ = 0;
};

/// Where the face name begins and, after its NUL, ends. False when the template has none.
bool FindFace(const OBuffer& dialog, bool* extended, size_t* begin, size_t* end) {
  Walker walker(dialog);
  WORD version = 0, signature = 0;
  DWORD style = 0;
  if (!walker.Read(0, &version) || !walker.Read(sizeof version, &signature)) return false;
  *extended = version == 1 && signature == 0xFFFF;
  if (!walker.Read(*extended ? 12 : 0, &style) || !(style & kSetFont)) return false;
  if (!walker.Skip(*extended ? kExtendedHeader : kClassicHeader) || !walker.SkipName() || !walker.SkipName() ||
      !walker.SkipText() || !walker.Skip(*extended ? kExtendedFont : kClassicFont)) {
    return false;
  }
  *begin = walker.At();
  if (!walker.SkipText()) return false;
  *end = walker.At();
  return true;
}

void ReplaceRichEditClass(OBuffer* dialog) {
  static constexpr WCHAR kAnsiClass[] = TEXT("RichEdit20A");
  constexpr size_t kLetterAt = (std::size(kAnsiClass) - 2) * kUnit;
  for (size_t at = 0; at + sizeof kAnsiClass <= dialog->Size(); at += kUnit) {
    if (std::memcmp(dialog->Data() + at, kAnsiClass, sizeof kAnsiClass) != 0) continue;
    constexpr WCHAR kWide = 'W';
    std::memcpy(dialog->Data() + at + kLetterAt, &kWide, sizeof kWide);
  }
}

}  // namespace

OString DialogFontFace() {
  OSVERSIONINFOW version = {};
  version.dwOSVersionInfoSize = sizeof version;
  LOGFONTW font = {};
  if (GetVersionExW(&version) && version.dwMajorVersion < 5 &&
      GetObjectW(GetStockObject(DEFAULT_GUI_FONT), sizeof font, &font) > 0) {
    return OString(font.lfFaceName);
  }
  return "MS Shell Dlg";
}

bool FixDialogTemplate(const OString& faceName, OBuffer* dialog) {
  bool extended = false;
  size_t begin = 0, end = 0;
  if (!FindFace(*dialog, &extended, &begin, &end)) return true;
  // The items that follow begin at multiples of 4.
  const size_t faceSize = (static_cast<size_t>(faceName.Length()) + 1) * kUnit;
  const size_t oldItems = std::min(RoundUp(end), dialog->Size());
  const size_t newItems = RoundUp(begin + faceSize);
  OBuffer fixed;
  if (!fixed.Allocate(RoundUp(newItems + dialog->Size() - oldItems))) return false;
  std::memcpy(fixed.Data(), dialog->Data(), begin);
  std::memcpy(fixed.Data() + begin, faceName.Wide(), faceSize);
  std::memcpy(fixed.Data() + newItems, dialog->Data() + oldItems, dialog->Size() - oldItems);
  if (extended) fixed.Data()[begin - 1] = DEFAULT_CHARSET;
  ReplaceRichEditClass(&fixed);
  *dialog = std::move(fixed);
  return true;
}

}  // namespace portwise
