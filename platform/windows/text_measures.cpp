#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <utility>

#include "platform/kernel/fail.h"
#include "platform/windows/fonts.h"
#include "platform/windows/screen.h"
#include "platform/windows/window.h"

struct HDC__ {
  HGDIOBJ font;
};

namespace portwise::platform {
namespace {

struct Graphics {
  std::mutex mutex;
  std::set<HDC> contexts;
  std::map<std::pair<std::u16string, int>, int> fonts;  // the address of an entry is the font's handle
};
Graphics& TheGraphics() {
  static auto& graphics = *new Graphics;
  return graphics;
}

/// Scripts whose characters fill a square, and their punctuation.
bool IsWide(WCHAR unit) {
  constexpr std::pair<WCHAR, WCHAR> kRanges[] = {{0x1100, 0x115F}, {0x2E80, 0xA4CF}, {0xAC00, 0xD7A3},
                                                 {0xF900, 0xFAFF}, {0xFE30, 0xFE4F}, {0xFF00, 0xFF60}};
  return std::any_of(std::begin(kRanges), std::end(kRanges),
                     [unit](const auto& range) { return unit >= range.first && unit <= range.second; });
}

/// Each half of a surrogate pair counts as a narrow character.
LONG WidthOf(std::u16string_view text) {
  LONG width = 0;
  for (const WCHAR unit : text) width += IsWide(unit) ? 2 * kCharacterWidth : kCharacterWidth;
  return width;
}

/// Breaks lines between words, and where the text says so. The number of lines, and the width of the widest.
int CountLines(std::u16string_view text, bool breaks, LONG limit, LONG* widest) {
  int lines = 0;
  *widest = 0;
  while (!text.empty()) {
    const auto end = std::min(text.find(u'\n'), text.size());
    std::u16string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    do {
      std::size_t taken = line.size();
      while (breaks && taken > 0 && WidthOf(line.substr(0, taken)) > limit) {
        const auto space = line.rfind(u' ', taken - 1);
        if (space == line.npos) break;
        taken = space;
      }
      if (taken == 0) taken = std::min(line.find(u' ', 1), line.size());
      *widest = std::max(*widest, WidthOf(line.substr(0, taken)));
      line.remove_prefix(std::min(taken + 1, line.size()));
      ++lines;
    } while (!line.empty());
  }
  return std::max(lines, 1);
}

}  // namespace

HFONT FontOf(std::u16string_view face, int size) {
  std::lock_guard lock(TheGraphics().mutex);
  return &*TheGraphics().fonts.try_emplace({std::u16string(face), size}, 0).first;
}

}  // namespace portwise::platform

using namespace portwise::platform;

HDC WINAPI GetDC(HWND window) {
  if (window && !IsWindow(window)) return nullptr;
  const HDC context = new HDC__{GetStockObject(DEFAULT_GUI_FONT)};
  std::lock_guard lock(TheGraphics().mutex);
  TheGraphics().contexts.insert(context);
  return context;
}

int WINAPI ReleaseDC(HWND, HDC context) {
  std::lock_guard lock(TheGraphics().mutex);
  if (TheGraphics().contexts.erase(context) == 0) return 0;
  delete context;
  return 1;
}

HGDIOBJ WINAPI SelectObject(HDC context, HGDIOBJ object) {
  std::lock_guard lock(TheGraphics().mutex);
  if (!object || !TheGraphics().contexts.contains(context)) {
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
  }
  return std::exchange(context->font, object);
}

BOOL WINAPI GetTextExtentPoint32W(HDC context, LPCWSTR text, int length, LPSIZE size) {
  std::lock_guard lock(TheGraphics().mutex);
  if (!TheGraphics().contexts.contains(context) || !size || length < 0 || (!text && length > 0)) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  *size = {WidthOf({text, static_cast<std::size_t>(length)}), kCharacterHeight};
  return TRUE;
}

int WINAPI DrawTextW(HDC, LPCWSTR text, int length, LPRECT rect, UINT format) {
  const std::u16string_view all =
      length < 0 ? std::u16string_view(text) : std::u16string_view(text, static_cast<std::size_t>(length));
  LONG widest = 0;
  const bool single = (format & DT_SINGLELINE) != 0;
  const int lines = single ? 1 : CountLines(all, (format & DT_WORDBREAK) != 0, rect->right - rect->left, &widest);
  if (single) widest = WidthOf(all);
  const int height = lines * kCharacterHeight;
  if (format & DT_CALCRECT) {
    rect->right = rect->left + widest;
    rect->bottom = rect->top + height;
  }
  return height;
}
