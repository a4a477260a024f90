#pragma once

#include <windows.h>

#include <string_view>

namespace portwise::platform {

/// Hands out a text as most calls with a buffer do: its length without the NUL, or, when `size` units do not hold it,
/// the size that it needs with the NUL and an untouched buffer.
template <class Unit>
DWORD CopyText(std::basic_string_view<Unit> text, Unit* buffer, DWORD size) {
  if (!buffer || size <= text.size()) return static_cast<DWORD>(text.size() + 1);
  text.copy(buffer, text.size());
  buffer[text.size()] = 0;
  return static_cast<DWORD>(text.size());
}
inline DWORD CopyText(std::u16string_view text, LPWSTR buffer, DWORD size) {
  return CopyText<WCHAR>(text, buffer, size);
}

}  // namespace portwise::platform
