#pragma once

#include <string>

#include "core/ostring.h"

namespace portwise {

/// A native path becomes the logical one that means the same; logical paths pass.
OString ToRegistryPath(const std::string& path);

/// The path of the value `name`, as the registry spells it, of a key.
OString ValueOf(const OString& key, const OString& name);

/// Throws CommandError with why an operation failed: what is wrong with the registry as a whole, else `otherwise`.
[[noreturn]] void FailAtRegistry(const std::string& otherwise);

}  // namespace portwise
