#pragma once

#include <string>

namespace portwise::platform {

/// Whether the file at a Linux path is an ELF image of this machine's kind that holds every byte that its headers say
/// is loaded from it. The dynamic loader maps what they say, and what the file lacks is then a fault in the loader,
/// with its lock held.
bool IsWholeImageFile(const std::string& path);

}  // namespace portwise::platform
