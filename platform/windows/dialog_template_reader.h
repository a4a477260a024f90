#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace portwise::platform {

struct DialogItem {
  DWORD style = 0, extendedStyle = 0;
  int x = 0, y = 0, width = 0, height = 0;  // in dialog units
  int id = 0;
  std::u16string className;
  std::u16string text;
  WORD textNumber = 0;  // a resource, such as a static control's icon
};

/// What a dialog template describes.
struct DialogTemplate {
  DWORD style = 0, extendedStyle = 0;
  int x = 0, y = 0, width = 0, height = 0;
  std::u16string title;
  std::u16string fontFace;  // empty when it names no font
  int fontSize = 0;
  std::vector<DialogItem> items;
};

/// Reads a template, of either version, which must be sound.
DialogTemplate ReadDialogTemplate(const void* bytes);

}  // namespace portwise::platform
