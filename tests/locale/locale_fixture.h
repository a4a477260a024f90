#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <string>

#include "core/folders.h"
#include "core/module_instance.h"
#include "core/ostring.h"
#include "platform/home.h"
#include "platform/kernel/modules.h"
#include "platform/test_system.h"
#include "tests/support/files.h"
#include "tests/support/temporary_home.h"

namespace portwise {

/// A home whose system directory holds this build's language modules.
class LocaleTest : public testing::Test {
 protected:
  LocaleTest() {
#ifdef _WIN32
    SetModuleInstance(GetModuleHandleW(nullptr));  // which the library's DllMain does
#endif
    WCHAR folder[MAX_PATH];
    GetSystemDirectoryW(folder, MAX_PATH);
    archive_ = platform::LinuxPath(folder) + "/portwise.ddz";
    std::filesystem::copy(std::string(platform::LibraryFolder()) + "/portwise.ddz", archive_);
  }
  ~LocaleTest() override { platform::SetSystemLocale(nullptr); }

  static void WriteBytes(const std::filesystem::path& path, const std::string& bytes) {
    // A file that is cut first may go to the disk at once, which a loop of tests must not wait for.
    std::filesystem::remove(path);
    portwise::WriteBytes(path, bytes);
  }
  /// The number of files in the system's folder for temporary ones.
  static std::ptrdiff_t TemporaryFiles() {
    const std::filesystem::directory_iterator folder(platform::LinuxPath(LibraryTempFolder().Wide()));
    return std::distance(begin(folder), end(folder));
  }
  std::string Path(const std::string& name) const { return (home_.Path() / name).string(); }

  TemporaryHome home_;
  std::string archive_;
};

}  // namespace portwise
