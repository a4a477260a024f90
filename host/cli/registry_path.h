#pragma once

#include <string>

#include "core/ostring.h"

namespace portwise {

/// A native path becomes the logical one that means the same; logical paths pass.
OString ToRegistryPath(const std::string& path);

/// Throws CommandError with why an operation failed: what is wrong with the registry as a whole, else `otherwise`.
[[noreturn]] void FailAtRegistry(const std::string& otherwise);

}  // namespace portwise
