#include <gtest/gtest.h>
#include <windows.h>
#include <winver.h>

#include <cstring>

#include "core/exception.h"
#include "core/file_version_info.h"
#include "core/handles.h"
#include "core/operating_system_info.h"
#include "platform/home.h"
#include "platform/kernel/modules.h"
#include "platform/test_system.h"
#include "tests/support/files.h"
#include "tests/support/temporary_home.h"
#include "tests/support/wine.h"

namespace portwise {
namespace {

using Metrics = std::vector<int>;

/// A system while it lives.
class FakeSystem {
 public:
  FakeSystem(DWORD major, DWORD minor, BYTE type, WORD suite, Metrics metrics = {}, OString servicePack = {})
      : metrics_(std::move(metrics)) {
    OSVERSIONINFOEXW version = {sizeof version, major, minor, 7601, VER_PLATFORM_WIN32_NT, {}, 1, 2, suite, type, 0};
    servicePack.View().copy(version.szCSDVersion, 127);
    platform::SetSystemVersion(&version);
    for (const int metric : metrics_) platform::SetSystemMetric(metric, 1);
  }
  ~FakeSystem() {
    platform::SetSystemVersion(nullptr);
    for (const int metric : metrics_) platform::SetSystemMetric(metric, 0);
  }

 private:
  Metrics metrics_;
};

TEST(OperatingSystemInfo, NamesVersionsAndEditions) {
  constexpr WORD kData = 0x80, kEnterprise = 0x2, kBlade = 0x400, kHome = 0x200, kEmbedded = 0x40;
  const struct {
    DWORD major, minor;
    BYTE type;
    WORD suite;
    Metrics metrics;
    const char* words;
  } rows[] = {
      {10, 0, 1, 0, {}, "Windows NT 10.0 Professional"},
      {6, 2, 2, kData | kEnterprise, {}, "Windows Server 2012 Datacenter Edition"},
      {6, 1, 3, kEnterprise, {}, "Windows Server 2008 R2 Enterprise Edition"},
      {6, 0, 3, kBlade, {}, "Windows Server 2008 Standard Edition"},
      {6, 3, 3, 0, {}, "Windows NT 6.3 Standard Edition"},
      {6, 0, 1, kHome, {SM_MEDIACENTER}, "Windows Vista Home Edition"},
      {5, 2, 3, kBlade, {}, "Windows Server 2003 Web Edition"},
      {5, 2, 3, kBlade | 0x10, {SM_SERVERR2}, "Windows Server 2003 Standard EditionR2"},
      {5, 2, 3, kBlade | kEnterprise, {}, "Windows Server 2003 Enterprise Edition"},
      {5, 2, 1, kEmbedded, {SM_SERVERR2}, "Windows Server 2003 Professional"},
      {5, 1, 1, kHome | kEmbedded, {}, "Windows XP Home Edition"},
      {5, 1, 1, kEmbedded, {}, "Windows XP Embedded"},
      {5, 1, 1, kHome, {SM_MEDIACENTER, SM_STARTER}, "Windows XP Media Center"},
      {5, 1, 1, kHome, {SM_STARTER, SM_TABLETPC}, "Windows XP Starter Edition"},
      {5, 1, 1, 0, {SM_TABLETPC}, "Windows XP Tablet PC Edition"},
      {5, 0, 3, kData, {}, "Windows 2000 Datacenter Server"},
      {4, 0, 2, kEnterprise, {}, "Windows NT 4.0 Advanced Server"},
      {10, 0, 3, 0, {}, "Windows NT 10.0 Server"},
  };
  for (const auto& row : rows) {
    const FakeSystem system(row.major, row.minor, row.type, row.suite, row.metrics);
    OperatingSystemInfo info;
    ASSERT_TRUE(info.Read());
    EXPECT_EQ(info.Description(), OString(row.words) + " Build 7601");
  }
  const FakeSystem system(6, 1, 1, 0, {}, "Service Pack 1");
  OperatingSystemInfo info;
  ASSERT_TRUE(info.Read());
  EXPECT_EQ(info.Description(), "Windows 7 Professional Build 7601 (Service Pack 1)");
  EXPECT_EQ(info.ServicePack(), 0x20001u);
  EXPECT_TRUE(info.IsAtLeast(6, 1) && info.IsAtLeast(5, 2) && !info.IsAtLeast(6, 2) && !info.IsAtLeast(10, 0));
}

TEST(OperatingSystemInfo, AsksAgainUntilTheSystemAnswersAndThenNeverMore) {
  const OSVERSIONINFOEXW silent = {};
  platform::SetSystemVersion(&silent);
  EXPECT_TRUE(OperatingSystemInfo::Get().Name().IsEmpty());
  {
    const FakeSystem system(6, 2, 1, 0);
    EXPECT_EQ(OperatingSystemInfo::Get().Name(), "Windows 8");
  }
  EXPECT_EQ(OperatingSystemInfo::Get().Name(), "Windows 8");
}

#ifdef _WIN32
constexpr const char* kLibrary = "/portwise.dll";
#else
constexpr const char* kLibrary = "/libportwise.so";
#endif

OString LibraryPath() { return OString(std::string(platform::LibraryFolder()) + kLibrary); }

TEST(FileVersionInfo, ReadsTheLibraryLoadedOrNotAndThisProgram) {
  const OString fromDisk = FileVersionInfo(LibraryPath()).GetString("ProductVersion");
  EXPECT_EQ(fromDisk, PORTWISE_VERSION);
  EXPECT_EQ(FileVersionInfo("portwise.dll").GetString("productversion"), fromDisk);
  const unique_module library(LoadLibraryW(TEXT("portwise.dll")));
  for (const HMODULE module : {library.Get(), HMODULE{}}) {
    WCHAR path[MAX_PATH] = {};
    ASSERT_GT(GetModuleFileNameW(module, path, MAX_PATH), 0u);
    const FileVersionInfo info(path);
    EXPECT_EQ(info.GetString("ProductVersion"), fromDisk);
    EXPECT_EQ(info.GetString("OriginalFilename"), "portwise.dll");
    EXPECT_EQ(info.GetString("Nothing"), "");
    EXPECT_EQ(info.GetString("FileVersion\\more"), "");
  }
}

TEST(FileVersionInfo, RaisesTheSystemsErrorWithItsPlace) {
  const TemporaryHome home;
  WriteBytes(home.Path() / "text.dll", "MZ, but no more than that");
  const struct {
    OString path;
    LONG error;
  } rows[] = {{"C:\\none.dll", ERROR_FILE_NOT_FOUND},
              {OString((home.Path() / "text.dll").string()), ERROR_RESOURCE_DATA_NOT_FOUND},
              {OString(std::string(platform::LibraryFolder()) + "/msgtable.dll"),
               IsWine() ? ERROR_RESOURCE_DATA_NOT_FOUND : ERROR_RESOURCE_TYPE_NOT_FOUND}};
  for (const auto& row : rows) {
    try {
      const FileVersionInfo info(row.path);
      FAIL() << row.path.Narrow();
    } catch (const OException& failure) {
      EXPECT_EQ(failure.Code(), row.error) << row.path.Narrow();
      EXPECT_EQ(failure.Function(), "FileVersionInfo::_GetFileVersionInfo");
      EXPECT_EQ(failure.File(), "FileVersionInfo");
    }
  }
}

#ifndef _WIN32  // the readers of our own platform layer
TEST(VersionBlock, DamagedAnywhereStaysWithinItsBytes) {
  const unique_module loaded(LoadLibraryW(TEXT("portwise.dll")));  // so that each reading is from memory
  DWORD handle = 0;
  const OString path = LibraryPath();
  const DWORD size = GetFileVersionInfoSizeW(path.Wide(), &handle);
  std::string block(size, '\0');
  ASSERT_TRUE(GetFileVersionInfoW(path.Wide(), 0, size, block.data()));
  const auto query = [](const std::string& bytes) {
    const std::unique_ptr<char[]> exact(new char[bytes.size()]);
    std::memcpy(exact.get(), bytes.data(), bytes.size());
    for (LPCWSTR name : {TEXT("\\"), TEXT("\\StringFileInfo\\040904B0\\ProductVersion"),
                         TEXT("\\VarFileInfo\\Translation"), TEXT("VarFileInfo")}) {
      void* value = nullptr;
      UINT length = 0;
      if (!VerQueryValueW(exact.get(), name, &value, &length)) continue;
      const auto offset = static_cast<size_t>(static_cast<char*>(value) - exact.get());
      EXPECT_LE(offset + length, bytes.size());
    }
  };
  for (DWORD cut = 2; cut < size; ++cut) {
    std::string part(cut, '\0');
    ASSERT_TRUE(GetFileVersionInfoW(path.Wide(), 0, cut, part.data()));
    query(part);
  }
  for (size_t at = sizeof(WORD); at < size; ++at) {  // the first word is the block's own length
    for (const char value : {'\0', '\1', '\x7F', '\xFF'}) {
      std::string damaged = block;
      damaged[at] = value;
      query(damaged);
    }
  }
}
#endif

}  // namespace
}  // namespace portwise
