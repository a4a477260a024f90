#pragma once

#include <windows.h>

#include <string>

/// What is wrong with the registry's database. Any thread.
namespace portwise::platform {

/// The error code of an SQLite result.
LSTATUS RegistryCode(int sqliteResult);

/// Remembers the fault and tells it once on standard error. A damaged file (ERROR_BADDB) stays refused until it is
/// changed or replaced, so that nothing makes the damage worse.
void RecordFault(const std::string& path, LSTATUS code, const std::string& reason);

/// Throws RegistryError when the file was found damaged and has not changed since.
void RefuseDamaged(const std::string& path);
/// Counts the times that a damaged file was found or came back: a connection of an earlier count is to be closed.
unsigned FaultCount();

/// The text of the last fault of the file at `path`, and its end.
std::string FaultText(const std::string& path);
void ClearFault();

/// Held over a fork.
void LockFaults();
void UnlockFaults();

}  // namespace portwise::platform
