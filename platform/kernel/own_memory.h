#pragma once

#include <cstddef>

namespace portwise::platform {

/// Copies up to `size` bytes at `address`, and returns how many could be read from the start on: unlike a plain read it
/// never faults. Safe in signal handlers.
std::size_t ReadOwnMemory(const void* address, void* buffer, std::size_t size);

}  // namespace portwise::platform
