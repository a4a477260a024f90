#pragma once

#include "core/ostring.h"

namespace portwise {

/// The folder of application data common to all users, created when missing, without a trailing backslash; empty when
/// the shell does not know it.
OString CommonApplicationDataFolder();

/// The library's folder for temporary files, created with its parents: "Corvane\Drivers\Temp" under the common
/// application-data folder, or the system's temporary folder when that cannot be had. Without a trailing backslash.
OString LibraryTempFolder();

/// Creates a folder with its missing parents. A folder that is there already is a success; on failure the last error
/// is that of the creation that failed.
bool CreateFolder(const OString& path);

/// A file's name without a folder, with "_" in front when Windows would take it for a device, as "nul" and "com1.txt".
OString AvoidDeviceName(const OString& name);

}  // namespace portwise
