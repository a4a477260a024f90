#include "locale/string_block.h"

#include <cstring>

namespace portwise {

WideString StringInBlock(const void* block, size_t size, UINT position) {
  const auto* next = static_cast<const BYTE*>(block);
  const BYTE* const end = next + size;
  for (UINT index = 0; index <= position; ++index) {
    WORD length = 0;
    if (static_cast<size_t>(end - next) < sizeof length) break;
    std::memcpy(&length, next, sizeof length);
    next += sizeof length;
    const size_t bytes = length * sizeof(WCHAR);
    if (static_cast<size_t>(end - next) < bytes) break;
    if (index == position) {
      WideString text(length, WCHAR(0));
      if (length > 0) std::memcpy(text.data(), next, bytes);
      return text;
    }
    next += bytes;
  }
  return WideString();
}

}  // namespace portwise
