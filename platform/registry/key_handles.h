#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <string>

/// The HKEY handles of this process. They are numbers that are never given twice, so a stale one is recognised and
/// never reaches another key. Any thread.
namespace portwise::platform {

/// A key that is open. It may be deleted meanwhile; its id is then found no more.
struct OpenKey {
  std::int64_t id;
  /// The whole path in folded case, as in the database.
  std::string path;
  /// The rights it was opened with. A predefined root has none of its own: its access list decides at each use.
  REGSAM access;
  /// Connection::HomeNumber of the database it was found in; 0 for a predefined root, which every database has.
  std::int64_t homeNumber;

  bool IsRoot() const { return homeNumber == 0; }
};

HKEY AddKeyHandle(OpenKey key);
/// Throws RegistryError with ERROR_INVALID_HANDLE when `handle` is neither open nor a predefined root.
std::shared_ptr<const OpenKey> FindKeyHandle(HKEY handle);
/// False when `handle` is neither open nor a predefined root. Roots stay open.
bool RemoveKeyHandle(HKEY handle);

/// Held over a fork.
void LockKeyHandles();
void UnlockKeyHandles();

}  // namespace portwise::platform
