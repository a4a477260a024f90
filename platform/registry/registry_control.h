#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// What programs and tests may know and set about the registry beyond the calls of Windows. All of it concerns this
/// process alone; any thread.
namespace portwise::platform {

/// Whom access lists take this process for.
enum class RegistryRole {
  /// Root and the owner of the home folder are administrators, the system and everyone; others only everyone.
  Actual,
  /// Everyone and nothing more, whoever runs the process.
  Everyone,
};

/// Keys that are open already keep the rights they were opened with.
void SetRegistryRole(RegistryRole role);

/// How long a call waits for another process to release the database before it fails with ERROR_BUSY; 5000 at first.
void SetRegistryBusyTimeout(int milliseconds);

/// Why the registry of the current home does not work, with the path of its file; empty when it is fine. Tries the
/// database, so it may take as long as the busy timeout. A failed write is told until the next one that succeeds.
std::string RegistryFault();

/// A state of the registry. Between two equal ones nobody wrote, in whatever process.
struct RegistryVersion {
  std::uint64_t connection;  ///< versions of different connections do not compare
  std::int64_t changes;

  bool operator==(const RegistryVersion&) const = default;
};

/// The version of the current home's registry, for caches of what was read from it; nothing when it does not work. It
/// costs as much as reading one value.
std::optional<RegistryVersion> CurrentRegistryVersion();

}  // namespace portwise::platform
