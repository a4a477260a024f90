#pragma once

#include <windows.h>

#include <cstring>
#include <string_view>
#include <vector>

namespace portwise::platform {

/// A dialog template of the older version, put together by hand.
class DialogBytes {
 public:
  DialogBytes(DWORD style, SHORT width, SHORT height, std::u16string_view title) {
    const DLGTEMPLATE head{style, 0, 0, 10, 20, width, height};
    Append(&head, sizeof head);
    Append(u"\0\0", 4);  // no menu, the usual class
    AppendText(title);
  }
  DialogBytes& Add(WORD className, DWORD style, WORD id, std::u16string_view text, SHORT x = 0, SHORT y = 0) {
    while (bytes_.size() % 4 != 0) bytes_.push_back(0);
    const struct {
      DWORD style, extendedStyle;
      SHORT x, y, width, height;
      WORD id, marker, className;
    } item{style | WS_VISIBLE, 0, x, y, 40, 14, id, 0xFFFF, className};
    Append(&item, 22);
    AppendText(text);
    Append(u"", 2);  // nothing more
    ++reinterpret_cast<DLGTEMPLATE*>(bytes_.data())->cdit;
    return *this;
  }
  LPCDLGTEMPLATEW Get() const { return reinterpret_cast<LPCDLGTEMPLATEW>(bytes_.data()); }

 private:
  void Append(const void* data, size_t size) {
    bytes_.resize(bytes_.size() + size);
    std::memcpy(bytes_.data() + bytes_.size() - size, data, size);
  }
  void AppendText(std::u16string_view text) {
    Append(text.data(), text.size() * sizeof(WCHAR));
    Append(u"", sizeof(WCHAR));
  }

  std::vector<BYTE> bytes_;
};

inline constexpr WORD kButton = 0x80, kEdit = 0x81, kStatic = 0x82;

}  // namespace portwise::platform
