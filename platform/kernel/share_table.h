#pragma once

#include <sys/stat.h>
#include <windows.h>

#include <optional>
#include <utility>

namespace portwise::platform {

/// One open handle's entry in the table of the process's open files, which enforces the share modes. Other processes
/// are not held to them: Linux has no lock that a writer who does not ask for it respects. Any thread.
class ShareClaim {
 public:
  /// None when the access asked for is not shared by the handles that are open, or their access not by `share`. A claim
  /// to neither read nor write conflicts with nothing.
  static std::optional<ShareClaim> Take(const struct stat& file, DWORD access, DWORD share);

  /// Whether every open handle of the file shares its deletion.
  static bool MayDelete(const struct stat& file);

  ShareClaim(ShareClaim&& other) noexcept : id_(std::exchange(other.id_, 0)) {}
  ShareClaim& operator=(ShareClaim&&) = delete;
  ~ShareClaim();

 private:
  explicit ShareClaim(unsigned long long id) : id_(id) {}

  unsigned long long id_;  // 0: moved from
};

}  // namespace portwise::platform
