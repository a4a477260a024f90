#pragma once

#include <memory>

#include "core/ostring.h"
#include "core/synchronizer.h"

namespace portwise {

/// The lock that all who append to the file of that path share, as long as one of them has it. Paths are compared
/// without regard to ASCII case; two paths of one file are two. Any thread.
std::shared_ptr<OCriticalSection> LockOfLogFile(const OString& path);

}  // namespace portwise
