#pragma once

#include <span>

#include "xpml/handler.h"

namespace portwise {

/// The commands that every document has: those that need no port. Their context is null.
std::span<const XPML_Command> GeneralCommands();

}  // namespace portwise
