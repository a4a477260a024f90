#include <chrono>
#include <cstdlib>
#include <ctime>

#include "locale/pm_locale.h"
#include "locale/resource_archive.h"
#include "tests/locale/locale_fixture.h"
#include "tests/locale/zip_bytes.h"
#include "tests/support/environment.h"
#include "tests/support/file_size_limit.h"
#include "tests/support/wine.h"

namespace portwise {
namespace {

using namespace std::chrono_literals;
using Number = std::string (*)(std::uint64_t, int);
constexpr Number kNumber = ZipBytes::Number;

class ArchiveTest : public LocaleTest {
 protected:
  /// What the archive of these bytes gives for a name; "-" for nothing.
  std::string Extracted(const std::string& bytes, const OString& name, DWORD flags = 0) {
    WriteBytes(Path("archive"), bytes);
    std::filesystem::remove(Path("target"));
    OResourceFile archive;
    EXPECT_TRUE(archive.AddArchive(OString(Path("archive"))));
    if (archive.Extract(name, OString(Path("target")), flags)) return ReadBytes(Path("target"));
    EXPECT_FALSE(std::filesystem::exists(Path("target"))) << "failed, and yet left a file";
    return "-";
  }
};

TEST_F(ArchiveTest, FindsMembersOfArchivesInTheirOrder) {
  WriteBytes(Path("one"), ZipBytes({{"Both", "of one"}, {"both", "second"}, {"Empty", ""}}).bytes);
  WriteBytes(Path("two"), ZipBytes({{"both", "of two"}, {"../../climbs", "harmless"}}).bytes);
  OResourceFile archive;
  EXPECT_FALSE(archive.AddArchive(OString(Path("none"))));
  ASSERT_TRUE(archive.AddArchive(OString(Path("one"))));
  EXPECT_EQ(archive.Find("../../climbs"), nullptr);
  ASSERT_TRUE(archive.AddArchive(OString(Path("two")))) << "added after the first search";
  const OString target(Path("target"));
  for (const auto& [name, content] : {std::pair{"BOTH", "of one"}, {"../../climbs", "harmless"}, {"empty", ""}}) {
    ASSERT_TRUE(archive.Extract(name, target, 0)) << name;
    EXPECT_EQ(ReadBytes(Path("target")), content);
  }
  EXPECT_FALSE(std::filesystem::exists(home_.Path().parent_path().parent_path() / "climbs"));
  EXPECT_FALSE(archive.Extract("climbs", target, 0));
}

TEST_F(ArchiveTest, WritesTimesAndHonoursFlags) {
  const EasternTime zone;
  WriteBytes(Path("archive"), ZipBytes({{"m", "new"}, {"timeless", "x", 0, 0}}).bytes);
  OResourceFile archive;
  archive.AddArchive(OString(Path("archive")));
  const OString target(Path("target"));
  ASSERT_TRUE(archive.Extract("m", target, OResourceFile::kSkipWhenCurrent));
  const auto seconds = [this] {
    struct stat status {};
    stat(Path("target").c_str(), &status);
    return status.st_mtime;
  };
  EXPECT_EQ(seconds(), 1704099600) << "2024-01-01 12:00 three hours east of Greenwich";
  WriteBytes(Path("target"), "newer");
  EXPECT_TRUE(archive.Extract("m", target, OResourceFile::kSkipWhenCurrent));
  EXPECT_EQ(ReadBytes(Path("target")), "newer");
  std::filesystem::last_write_time(Path("target"), std::filesystem::file_time_type::clock::now() - 24h * 3650);
  EXPECT_TRUE(archive.Extract("m", target, OResourceFile::kSkipWhenCurrent));
  EXPECT_EQ(ReadBytes(Path("target")), "new");

  if (IsWine()) return;  // which writes to such files when its user is root
  SetFileAttributesW(target.Wide(), FILE_ATTRIBUTE_READONLY);
  EXPECT_FALSE(archive.Extract("timeless", target, OResourceFile::kTemporary));
  EXPECT_EQ(ReadBytes(Path("target")), "new");
  EXPECT_TRUE(archive.Extract("timeless", target, OResourceFile::kTemporary | OResourceFile::kClearAttributes));
  EXPECT_EQ(ReadBytes(Path("target")), "x");
  EXPECT_NEAR(static_cast<double>(seconds()), static_cast<double>(time(nullptr)), 60);
  // Without the flag, what cannot be opened is replaced later, which on Linux is at once.
  SetFileAttributesW(target.Wide(), FILE_ATTRIBUTE_READONLY);
  EXPECT_TRUE(archive.Extract("m", target, 0));
  EXPECT_EQ(ReadBytes(Path("target")), "new");
  EXPECT_EQ(TemporaryFiles(), 0);
}

TEST_F(ArchiveTest, RefusesWhatIsNotPlainOrLies) {
  const std::string content(5000, 'c');
  const ZipBytes good({{"m", content}});
  const auto with = [&](size_t offset, std::uint64_t value, int size) {
    std::string bytes = good.bytes;
    return bytes.replace(offset, static_cast<size_t>(size), kNumber(value, size));
  };
  ASSERT_EQ(Extracted(good.bytes, "m"), content);
  const struct {
    const char* what;
    std::string bytes, result;
  } rows[] = {
      {"a comment behind the directory", with(good.end + 20, 1, 2) + "c", "-"},
      {"bytes behind the directory", good.bytes + "x", "-"},
      {"more entries than there are", with(good.end + 10, 9, 2), content},
      {"a directory before the file", with(good.end + 16, 0xFFFFFFFF, 4), "-"},
      {"a name past the end", with(good.central + 28, 0xFFFF, 2), "-"},
      {"a member past the end", with(good.central + 42, 0xFFFFFFF0, 4), "-"},
      {"a member that is the directory", with(good.central + 42, good.central, 4), "-"},
      {"a name that hides the data", with(26, 9, 2), "-"},
      {"data past the end", with(18, good.bytes.size(), 4), "-"},
      {"a content of more than there can be", with(22, 40u << 20, 4), "-"},
      {"a content shorter than the data", with(22, content.size() - 1, 4), "-"},
      {"data that ends early", with(22, content.size() + 9, 4), content},
      {"data without its end", with(18, 3, 4), "-"},
  };
  for (const auto& row : rows) EXPECT_EQ(Extracted(row.bytes, "m"), row.result) << row.what;
  const FileSizeLimit full(3000);
  EXPECT_EQ(Extracted(good.bytes, "m"), "-") << "a part of it would pass for the whole";
}

TEST_F(ArchiveTest, ReadsWhatAnotherProgramPacks) {
  WriteBytes(Path("portwise[deu].dll"), std::string(30000, 'd') + "end");
  WriteBytes(Path("random"), ReadBytes("/proc/self/exe").substr(0, 200000));
  const std::string folder = "cd '" + home_.Path().string() + "' && ";
  ASSERT_EQ(std::system((folder + "zip -q -X -nw zipped.zip 'portwise[deu].dll' random").c_str()), 0);
  const std::string bytes = ReadBytes(Path("zipped.zip"));
  EXPECT_TRUE(Extracted(bytes, "PORTWISE[DEU].DLL") == ReadBytes(Path("portwise[deu].dll")));
  EXPECT_TRUE(Extracted(bytes, "random") == ReadBytes(Path("random")));
}

TEST_F(ArchiveTest, DamagedAnywhereLeavesEnglishAndNoFile) {
  const std::string good = ReadBytes(archive_);
  const auto text = [] { return pmLocale("deu").LoadString(14003); };
  ASSERT_EQ(text(), "Drucker angehalten");
  for (size_t size = 0; size < good.size(); size += 7) {
    WriteBytes(archive_, good.substr(0, size));
    EXPECT_EQ(text(), "Printer Paused") << size;
  }
  // A flipped bit may leave the text as it was, change letters of it, or lose the module; nothing else.
  unsigned seed = 1;
  for (size_t at = 0; at < good.size(); at += 5) {
    std::string bytes = good;
    seed = seed * 1103515245 + 12345;
    bytes[at] = static_cast<char>(bytes[at] ^ (1 << (seed >> 16) % 8));
    WriteBytes(archive_, bytes);
    pmLocale locale("deu");
    EXPECT_FALSE(locale.LoadString(14003).IsEmpty()) << at;
    DWORD size = 0;
    EXPECT_NE(locale.GetDialog(TEXT("DLG_QUERY1"), &size), nullptr) << at;
    if (const HMENU menu = locale.LoadMenu(TEXT("MENU_STATUSPOPUP"))) DestroyMenu(menu);
  }
  EXPECT_EQ(TemporaryFiles(), 0);
}

}  // namespace
}  // namespace portwise
