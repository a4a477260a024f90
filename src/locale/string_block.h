#pragma once

#include <windows.h>

#include "core/code_page.h"

namespace portwise {

/// String tables come in blocks of this many strings; the block with a string is number id / 16 + 1.
inline constexpr UINT kStringsPerBlock = 16;

/// The string at `position` of a block: each is a count of units, then the units. Empty when the block has an empty one
/// there, or ends before the string does.
WideString StringInBlock(const void* block, size_t size, UINT position);

}  // namespace portwise
