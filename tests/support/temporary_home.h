#pragma once

#ifdef _WIN32
#include "tests/windows/temporary_home.h"
#else
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace portwise {

/// A fresh PORTWISE_HOME in the temporary folder while it lives; the folder and what is in it then disappear, and the
/// variable is what it was.
class TemporaryHome {
 public:
  TemporaryHome() {
    std::string path = (std::filesystem::temp_directory_path() / "portwise-home-XXXXXX").string();
    if (mkdtemp(path.data()) == nullptr) throw std::runtime_error("no temporary folder");
    path_ = path;
    if (const char* previous = std::getenv("PORTWISE_HOME")) previous_ = previous;
    setenv("PORTWISE_HOME", path_.c_str(), 1);
  }
  ~TemporaryHome() {
    if (previous_.empty()) {
      unsetenv("PORTWISE_HOME");
    } else {
      setenv("PORTWISE_HOME", previous_.c_str(), 1);
    }
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryHome(const TemporaryHome&) = delete;
  TemporaryHome& operator=(const TemporaryHome&) = delete;

  const std::filesystem::path& Path() const { return path_; }
  /// What is `C:\` to the product.
  std::filesystem::path Drive() const { return path_ / "drive_c"; }

 private:
  std::filesystem::path path_;
  std::string previous_;
};

}  // namespace portwise
#endif
