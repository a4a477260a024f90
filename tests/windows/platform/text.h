#pragma once

#include <windows.h>

#include <string>
#include <string_view>

/// UTF-8 and UTF-16, in place of the header of the same name that only Linux has.
namespace portwise::platform {

inline std::wstring ToUtf16(std::string_view utf8) {
  std::wstring wide(utf8.size(), L'\0');
  const int size = static_cast<int>(utf8.size());
  wide.resize(static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, wide.data(), size)));
  return wide;
}

inline std::string ToUtf8(std::wstring_view utf16) {
  std::string bytes(utf16.size() * 3, '\0');
  bytes.resize(
      static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, utf16.data(), static_cast<int>(utf16.size()), bytes.data(),
                                              static_cast<int>(bytes.size()), nullptr, nullptr)));
  return bytes;
}

inline std::wstring FoldCase(std::wstring_view text) {
  std::wstring folded(text);
  CharLowerBuffW(folded.data(), static_cast<DWORD>(folded.size()));
  return folded;
}

}  // namespace portwise::platform
