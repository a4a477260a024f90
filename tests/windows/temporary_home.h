#pragma once

#include <filesystem>
#include <set>

namespace portwise {

/// What a test's own registry and files are while it lives: HKEY_LOCAL_MACHINE and HKEY_CURRENT_USER of this process
/// are empty keys of its own, Path() is a fresh folder, and what the test has made on drive C: disappears with it.
class TemporaryHome {
 public:
  TemporaryHome();
  ~TemporaryHome();
  TemporaryHome(const TemporaryHome&) = delete;
  TemporaryHome& operator=(const TemporaryHome&) = delete;

  const std::filesystem::path& Path() const { return path_; }
  std::filesystem::path Drive() const { return "C:\\"; }

 private:
  std::filesystem::path path_;
  std::set<std::filesystem::path> before_;  ///< on the drive
};

}  // namespace portwise
