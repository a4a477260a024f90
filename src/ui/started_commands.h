#pragma once

#include <windows.h>

#include "core/ostring.h"

namespace portwise {

/// Starts a program and does not wait for it. `show` is how its window is shown first, an SW_ constant.
bool StartCommand(const OString& commandLine, WORD show);

/// A command line that begins with "@" is for a process of its own: starts the status window with the rest of it, in
/// this library, and hidden. False for any other command line.
bool RelayCommandLine(const OString& commandLine);

}  // namespace portwise
