#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>

#include "platform/home.h"
#include "platform/kernel/modules.h"
#include "platform/resources/elf_note.h"
#include "platform/resources/resource_file.h"
#include "platform/text.h"
#include "tests/support/files.h"
#include "tests/support/last_error.h"
#include "tests/support/temporary_home.h"

namespace portwise::platform {
namespace {

std::u16string LibraryPath() { return ToUtf16(std::string(LibraryFolder()) + "/libportwise.so"); }

/// Asks for every kind of resource; what is found must lie in the bytes.
int AskEverything(const ResourceFile& file) {
  const std::pair<ResourceName, ResourceName> names[] = {
      {6, 876}, {16, 1}, {14, 118}, {4, std::u16string(u"menu_StatusPopup")}, {5, std::u16string(u"none")}};
  int found = 0;
  for (const auto& [type, name] : names) {
    std::string_view bytes;
    if (!file.Find(type, name, &bytes)) continue;
    ++found;
    unsigned sum = 0;
    for (const char byte : bytes) sum += static_cast<unsigned char>(byte);
    EXPECT_LE(sum, 255 * bytes.size());
  }
  return found;
}

TEST(ResourceFile, DamagedAnywhereStaysWithinItsBytes) {
  const auto library = ReadBytes(ToUtf8(LibraryPath()));
  const auto segments = NoteSegmentsOfFile(library);
  ASSERT_FALSE(segments.empty());
  std::string image;
  for (const auto& segment : segments) image = FindResourceNote(segment).value_or(image);
  ASSERT_EQ(AskEverything(*ResourceFile::OfImage(image)), 4);
  const auto ask = [](const std::string& bytes) {
    const std::unique_ptr<char[]> exact(new char[bytes.size()]);
    std::memcpy(exact.get(), bytes.data(), bytes.size());
    const auto file = ResourceFile::OfImage({exact.get(), bytes.size()});
    return file ? AskEverything(*file) : 0;
  };
  for (size_t cut = 0; cut < image.size(); cut += cut < 4096 ? 1 : 101) EXPECT_EQ(ask(image.substr(0, cut)), 0) << cut;
  // Headers and directory are where a wrong number leads astray.
  for (size_t at = 0; at < 5000; ++at) {
    for (const char value : {'\0', '\x7F', '\x80', '\xFF'}) {
      std::string damaged = image;
      damaged[at] = value;
      ask(damaged);
    }
  }
}

TEST(ResourceNote, IsFoundOnlyWhereItIsWhole) {
  const std::string note = std::string("\4\0\0\0\0\0\0\0\1\0\0\0GNU\0", 16) +
                           std::string("\x9\0\0\0\5\0\0\0CCSRportwise\0\0\0\0image\0\0\0", 32);
  EXPECT_EQ(FindResourceNote(note), "image");
  for (size_t cut = 0; cut < note.size() - 3; ++cut) EXPECT_FALSE(FindResourceNote(note.substr(0, cut))) << cut;
  for (const size_t at : {0u, 4u, 16u, 20u, 24u, 28u}) {
    std::string damaged = note;
    damaged.replace(at, 4, "\xFF\xFF\xFF\xFF");
    EXPECT_FALSE(FindResourceNote(damaged)) << at;
  }
  const std::string elf = ReadBytes(ToUtf8(LibraryPath())).substr(0, 0x400);
  for (size_t cut = 0; cut < elf.size(); ++cut) EXPECT_TRUE(NoteSegmentsOfFile(elf.substr(0, cut)).empty()) << cut;
  for (size_t at = 4; at < 0x200; ++at) {
    std::string damaged = elf;
    damaged[at] = '\xFF';
    for (const std::string_view segment : NoteSegmentsOfFile(damaged)) FindResourceNote(segment);
  }
}

TEST(Resources, AreFoundInLoadedLibrariesAndInFilesOpenedAsData) {
  const HMODULE loaded = LoadLibraryW(u"portwise.dll");
  const HMODULE data = LoadLibraryExW(LibraryPath().c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
  for (const HMODULE module : {loaded, data}) {
    ASSERT_NE(module, nullptr);
    HRSRC icon = FindResourceW(module, MAKEINTRESOURCEW(118), RT_GROUP_ICON);
    ASSERT_NE(icon, nullptr);
    EXPECT_EQ(FindResourceW(module, u"#118", u"#14"), icon);
    EXPECT_GT(SizeofResource(module, icon), 6u);
    EXPECT_NE(LockResource(LoadResource(module, icon)), nullptr);
    EXPECT_NE(FindResourceExW(module, RT_STRING, MAKEINTRESOURCEW(876), MAKELANGID(9, 1)), nullptr);
    const struct {
      LPCWSTR type, name;
      WORD language;
      DWORD error;
    } missing[] = {{RT_BITMAP, u"x", 0, ERROR_RESOURCE_TYPE_NOT_FOUND},
                   {RT_DIALOG, u"DLG_NONE", 0, ERROR_RESOURCE_NAME_NOT_FOUND},
                   {RT_GROUP_ICON, u"#118x", 0, ERROR_RESOURCE_NAME_NOT_FOUND},
                   {RT_STRING, MAKEINTRESOURCEW(876), MAKELANGID(7, 1), ERROR_RESOURCE_LANG_NOT_FOUND}};
    for (const auto& row : missing) {
      EXPECT_EQ(FindResourceExW(module, row.type, row.name, row.language), nullptr);
      EXPECT_EQ(GetLastError(), row.error);
    }
    EXPECT_EQ(LoadResource(module, reinterpret_cast<HRSRC>(&icon)), nullptr) << "of no module";
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
  EXPECT_EQ(ErrorOf(FindResourceW(data, u"#118", RT_GROUP_ICON)), ERROR_MOD_NOT_FOUND);
  FreeLibrary(loaded);
}

TEST(FileNames, TemporaryFilesAreNewAndMovesKeepToTheirFlags) {
  const TemporaryHome home;
  WCHAR folder[MAX_PATH], one[MAX_PATH], other[MAX_PATH];
  GetTempPathW(MAX_PATH, folder);
  ASSERT_NE(GetTempFileNameW(folder, u"pw#long", 0, one), 0u);
  ASSERT_NE(GetTempFileNameW(folder, u"pw#", 0, other), 0u);
  EXPECT_NE(std::u16string(one), other);
  EXPECT_TRUE(std::u16string_view(one).starts_with(u"C:\\Windows\\Temp\\pw#"));
  EXPECT_EQ(ErrorOf(GetTempFileNameW(u"C:\\none", u"pw#", 0, one)), ERROR_DIRECTORY);
  EXPECT_EQ(ErrorOf(MoveFileExW(one, other, 0)), ERROR_ALREADY_EXISTS);
  EXPECT_TRUE(MoveFileExW(one, other, MOVEFILE_REPLACE_EXISTING));
  EXPECT_EQ(GetFileAttributesW(one), INVALID_FILE_ATTRIBUTES);
  EXPECT_TRUE(SetFileAttributesW(other, FILE_ATTRIBUTE_READONLY));
  EXPECT_EQ(GetFileAttributesW(other), FILE_ATTRIBUTE_READONLY);
  FILETIME time;
  for (const auto& [date, clock] : {std::pair<WORD, WORD>{0, 0}, {0x5A5F, 0}, {0x5821, 0xC000}, {0x5821, 0x1E}}) {
    EXPECT_FALSE(DosDateTimeToFileTime(date, clock, &time)) << date << " " << clock;
  }
}

}  // namespace
}  // namespace portwise::platform
