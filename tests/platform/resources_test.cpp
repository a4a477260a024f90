#include <gtest/gtest.h>
#include <windows.h>

#include "platform/home.h"
#include "platform/kernel/modules.h"
#include "platform/text.h"
#include "tests/support/last_error.h"

namespace portwise::platform {
namespace {

std::u16string LibraryPath() { return ToUtf16(std::string(LibraryFolder()) + "/libportwise.so"); }

TEST(Resources, AreFoundInLoadedLibrariesAndInFilesOpenedAsData) {
  const HMODULE loaded = LoadLibraryW(u"portwise.dll");
  const HMODULE data = LoadLibraryExW(LibraryPath().c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
  for (const HMODULE module : {loaded, data}) {
    ASSERT_NE(module, nullptr);
    HRSRC icon = FindResourceW(module, MAKEINTRESOURCEW(118), RT_GROUP_ICON);
    ASSERT_NE(icon, nullptr);
    EXPECT_EQ(FindResourceW(module, u"#118", u"#14"), icon);
    EXPECT_NE(FindResourceExW(module, RT_STRING, MAKEINTRESOURCEW(876), MAKELANGID(9, 1)), nullptr);
    EXPECT_EQ(ErrorOf(FindResourceW(module, u"x", RT_BITMAP)), ERROR_RESOURCE_TYPE_NOT_FOUND);
    EXPECT_EQ(ErrorOf(FindResourceW(module, u"DLG_NONE", RT_DIALOG)), ERROR_RESOURCE_NAME_NOT_FOUND);
    WCHAR text[8] = {};
    LPCWSTR whole = nullptr;
    EXPECT_EQ(LoadStringW(module, 14003, text, 8), 7);
    EXPECT_EQ(text, std::u16string(u"Printer"));
    EXPECT_EQ(LoadStringW(module, 14003, reinterpret_cast<LPWSTR>(&whole), 0), 14);
    EXPECT_EQ(std::u16string(whole, 14), u"Printer Paused");
    EXPECT_EQ(LoadStringW(module, 14117, text, 8), 0);
    EXPECT_EQ(text[0], 0);
  }
  EXPECT_EQ(GetProcAddress(data, "InitializePrintMonitor2"), nullptr) << "nothing of it is run";
  WCHAR path[MAX_PATH];
  EXPECT_GT(GetModuleFileNameW(data, path, MAX_PATH), 0u);
  EXPECT_EQ(path, LibraryPath());
  EXPECT_TRUE(FreeLibrary(data));
  EXPECT_FALSE(FreeLibrary(data));
  FreeLibrary(loaded);
}

}  // namespace
}  // namespace portwise::platform
