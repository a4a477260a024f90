#pragma once

#include <cstddef>

namespace portwise {

/// Whether the items of a menu template, of either version, end within its bytes. LoadMenuIndirectW is not told the
/// size, and follows the items wherever they lead.
bool IsWholeMenuTemplate(const void* menu, size_t size);

}  // namespace portwise
