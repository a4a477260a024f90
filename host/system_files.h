#pragma once

#include <string>

namespace portwise {

/// Puts what the library looks for in the system directory there, from beside the library, unless it lies there
/// already: msgtable.dll, the texts of the event log, and portwise.ddz, the language modules. What went wrong; empty
/// when nothing did. Programs that read a file meanwhile find the old one or the new one, whole.
std::string InstallSystemFiles();

}  // namespace portwise
