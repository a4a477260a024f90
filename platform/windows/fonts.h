#pragma once

#include <windows.h>

#include <string_view>

namespace portwise::platform {

/// A font for dialogs, which lasts as long as the process; the same one for the same face and size.
HFONT FontOf(std::u16string_view face, int size);

}  // namespace portwise::platform
