#pragma once

#include "core/ostring.h"

namespace portwise {

/// Does with the status window of a printer what the command line says: opens, shows, hides or closes it. Returns when
/// that is done; a window that it opens, when that is closed.
void RunStatusMonitor(const OString& commandLine);

}  // namespace portwise
