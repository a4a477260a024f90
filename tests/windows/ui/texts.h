#pragma once

#include <windows.h>

#include <string>

namespace portwise::test {

inline std::wstring Wide(const std::string& utf8) {
  std::wstring wide(utf8.size(), L'\0');
  const int size = static_cast<int>(utf8.size());
  wide.resize(static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, wide.data(), size)));
  return wide;
}

inline std::string Narrow(const std::wstring& wide) {
  std::string utf8(wide.size() * 3, '\0');
  utf8.resize(static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()),
                                                      utf8.data(), static_cast<int>(utf8.size()), nullptr, nullptr)));
  return utf8;
}

/// The text of a window or a control, of another program too; one that does not answer has none.
inline std::wstring WindowText(HWND window) {
  wchar_t text[512] = {};
  DWORD_PTR length = 0;
  SendMessageTimeoutW(window, WM_GETTEXT, std::size(text), reinterpret_cast<LPARAM>(text), SMTO_ABORTIFHUNG, 2000,
                      &length);
  return text;
}

}  // namespace portwise::test
