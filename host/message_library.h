#pragma once

#include <string>

namespace portwise {

/// Puts msgtable.dll, the texts of the event log, from beside the library into the system directory of the home, unless
/// it lies there already. What went wrong; empty when nothing did. Programs that read the file meanwhile find the old
/// one or the new one, whole.
std::string InstallMessageLibrary();

}  // namespace portwise
