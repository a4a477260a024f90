#include <cstdlib>
#include <cstring>
#include <map>
#include <thread>

#include "locale/dialog_template.h"
#include "locale/language.h"
#include "locale/locale_source_dll.h"
#include "locale/menu_template.h"
#include "locale/pm_locale.h"
#include "locale/string_block.h"
#include "tests/locale/locale_fixture.h"

namespace portwise {
namespace {

const OString kGermanPaused = "Drucker angehalten";
const OString kJapanesePaused = TEXT("\u30D7\u30EA\u30F3\u30BF\u30FC\u4E00\u6642\u505C\u6B62");

TEST_F(LocaleTest, SpeaksTheSystemsLanguageOrTheOneAskedFor) {
  const struct {
    const char* system;
    const char* language;
    OString code, paused;
  } rows[] = {
      {"de_DE.UTF-8", "sys", "deu", kGermanPaused}, {"de_AT@euro", "", "deu", kGermanPaused},
      {"ja_JP", "", "jpn", kJapanesePaused},        {"pt_BR", "", "ptb", "Printer Paused"},
      {"pt-PT", "", "ptg", "Printer Paused"},       {"zh_HK", "", "enu", "Printer Paused"},
      {"C.UTF-8", "", "enu", "Printer Paused"},     {"xx", "DEU", "DEU", kGermanPaused},
      {"de_DE", "enu", "enu", "Printer Paused"},    {"de_DE", "../deu", "../deu", "Printer Paused"},
  };
  for (const auto& row : rows) {
    platform::SetSystemLocale(row.system);
    pmLocale locale(row.language);
    EXPECT_EQ(locale.LoadString(14003), row.paused) << row.system << " " << row.language;
    EXPECT_EQ(locale.Language(), row.code);
  }
  platform::SetSystemLocale("de_DE");
  pmLocale metric;
  EXPECT_TRUE(metric.GetMeasurementSystem() == 2 && metric.UsesLeadingZero());
  EXPECT_EQ(metric.GetDecimalSeparator() + metric.GetThousandSeparator(), ",.");
  platform::SetSystemLocale("en_US");
  EXPECT_EQ(pmLocale().GetMeasurementSystem(), 1);
}

TEST_F(LocaleTest, TakesFromTheLibraryWhatALanguageLacks) {
  pmLocale locale("deu");
  EXPECT_EQ(locale.LoadString(14021), "Cutter Error") << "left out of the German strings";
  EXPECT_NE(locale.LoadHandle(ResourceKind::Icon, MAKEINTRESOURCEW(119)), nullptr);
  EXPECT_EQ(locale.LoadHandle(ResourceKind::Icon, MAKEINTRESOURCEW(1)), nullptr) << "a picture, not an icon";
  EXPECT_EQ(locale.GetResourceSize(RT_DIALOG, TEXT("DLG_NONE")), 0u);
  EXPECT_TRUE(locale.LoadString(15000).IsEmpty());
  EXPECT_TRUE(locale.LoadString(14003 + 0x10000).IsEmpty());
  EXPECT_EQ(TemporaryFiles(), 1);
  locale.Load("enu");
  EXPECT_EQ(TemporaryFiles(), 0);
  EXPECT_EQ(locale.LoadString(14003), "Printer Paused");
}

TEST_F(LocaleTest, KeepsDialogsAndKnowsWholeMenus) {
  pmLocale locale;
  for (const char* language : {"enu", "deu", "jpn"}) {
    locale.Load(language);
    DWORD size = 0;
    const void* dialog = locale.GetDialog(TEXT("dlg_Query1"), &size);
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(locale.GetDialog(TEXT("dlg_Query1"), &size), dialog) << "kept";
    const DWORD menuSize = locale.GetResourceSize(RT_MENU, TEXT("MENU_STATUSPOPUP"));
    const void* menu = locale.GetResourceData(RT_MENU, TEXT("MENU_STATUSPOPUP"));
    const HMENU loaded = locale.LoadMenu(TEXT("MENU_STATUSPOPUP"));
    EXPECT_TRUE(loaded && DestroyMenu(loaded));
    // The template is known to be whole, and to be so only as a whole, up to its padding.
    std::string bytes(static_cast<const char*>(menu), menuSize);
    bytes.resize(bytes.find_last_not_of('\0') + 3);
    for (size_t cut = 0; cut < bytes.size() - 1; ++cut) {
      const std::unique_ptr<char[]> exact(new char[cut]);
      std::memcpy(exact.get(), bytes.data(), cut);
      EXPECT_FALSE(IsWholeMenuTemplate(exact.get(), cut)) << cut;
    }
  }
}

TEST_F(LocaleTest, ModulesAreWhatOtherReadersFindInThem) {
  // Neither the archive nor the modules in it go through any code of ours.
  const char* const script = R"py(
import re, subprocess, sys, zipfile
name = 'portwise[%s].dll' % sys.argv[2]
zipfile.ZipFile(sys.argv[1]).extract(name, sys.argv[3])
listed = subprocess.run(['x86_64-w64-mingw32-windres', '-J', 'coff', '-O', 'rc', sys.argv[3] + '/' + name],
                        capture_output=True, text=True, check=True).stdout
def character(escape):
  code = escape[1]
  return '"' if escape[0] == '""' else chr(int(code[1:], 16) if code[0] == 'x' else int(code, 8))
for number, text in re.findall(r'^  (\d+), L?"(.*)"$', listed, re.M):
  print(number, re.sub(r'""|\\(x[0-9a-fA-F]{1,4}|[0-7]{1,3})', character, text))
)py";
  WriteBytes(Path("list.py"), script);
  for (const char* language : {"deu", "jpn"}) {
    const std::string command = "python3 '" + Path("list.py") + "' '" + archive_ + "' " + language + " '" +
                                home_.Path().string() + "' > '" + Path("listed") + "'";
    ASSERT_EQ(std::system(command.c_str()), 0);
    std::ifstream listed(Path("listed"));
    pmLocale locale(language);
    int count = 0;
    UINT id = 0;
    for (std::string text; listed >> id && listed.get() == ' ' && std::getline(listed, text); ++count)
      EXPECT_EQ(locale.LoadString(id), OString(text, CP_UTF8)) << language << ' ' << id;
    EXPECT_GT(count, 110) << language;
  }
}

TEST_F(LocaleTest, ServesThreeLanguagesFromManyThreadsAtOnce) {
  const std::map<OString, OString> texts = {
      {"enu", "Printer Paused"}, {"deu", kGermanPaused}, {"jpn", kJapanesePaused}};
  std::vector<std::thread> threads;
  for (int i = 0; i < 6; ++i) {
    threads.emplace_back([&, i] {
      for (int round = 0; round < 30; ++round) {
        for (const auto& [language, text] : texts) {
          if (i % 3 == round % 3) continue;
          pmLocale locale(language);
          EXPECT_EQ(locale.LoadString(14003), text);
          DWORD size = 0;
          EXPECT_NE(locale.GetDialog(TEXT("DLG_QUERY1"), &size), nullptr);
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(TemporaryFiles(), 0);
}

/// A source of given resources.
class FakeSource : public ULocaleSource {
 public:
  explicit FakeSource(std::string bytes, bool empty = false) : bytes_(std::move(bytes)), empty_(empty) {}
  HANDLE LoadHandle(ResourceKind, LPCWSTR) override { return nullptr; }
  DWORD GetSize(LPCWSTR, LPCWSTR) override { return empty_ ? 0 : static_cast<DWORD>(bytes_.size()); }
  const void* GetData(LPCWSTR, LPCWSTR) override { return bytes_.data(); }

 private:
  std::string bytes_;
  bool empty_;
};

std::string Units(WideView text) {
  return std::string(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(WCHAR));
}

TEST(Strings, PassOverEmptyAndDamagedBlocks) {
  const std::string second = Units(WideView(TEXT("\0\1A\0\3xyz"), 8));
  for (const auto& [first, text] : {std::pair{std::string(), "xyz"},
                                    {Units(WideView(TEXT("\0\0\0\0\0"), 5)), "xyz"},
                                    {Units(WideView(TEXT("\0\0\0\3ab"), 6)), "xyz"},
                                    {Units(WideView(TEXT("\uFFFFab"), 3)), "xyz"},
                                    {std::string("\1\0A"), "xyz"},
                                    {Units(WideView(TEXT("\0\0\0\2ab"), 6)), "ab"}}) {
    ULocale locale;
    locale.AddSource(new FakeSource(first));
    locale.AddSource(new FakeSource("one source's bytes must not go with another's size", true));
    locale.AddSource(new FakeSource(second));
    EXPECT_EQ(locale.LoadString(16 * 7 + 3), text);
    EXPECT_TRUE(locale.LoadString(16 * 7 + 4).IsEmpty());
    EXPECT_EQ(locale.GetResourceSize(RT_DIALOG, TEXT("x")), first.empty() ? second.size() : first.size());
  }
}

/// A template with the face name "Old" and one item of a rich-edit control.
std::string Dialog(bool extended, DWORD style, WideView menu, WideView face) {
  std::string bytes(extended ? 26 : 18, '\0');
  if (extended) bytes.replace(0, 4, std::string("\1\0\xFF\xFF", 4));
  bytes.replace(extended ? 12 : 0, 4, reinterpret_cast<const char*>(&style), 4);
  bytes += Units(menu) + Units(WideView(TEXT("\xFFFF\x8002Title\0"), 8));
  bytes += extended ? std::string("\x08\0\x90\1\1\x80", 6) : std::string("\x09\0", 2);
  bytes += Units(face) + std::string(2, '\0');
  bytes.resize((bytes.size() + 3) / 4 * 4);
  return bytes + Units(WideView(TEXT("item\0RichEdit20A\0end!"), 22));
}

std::string Fixed(const std::string& bytes, const OString& face) {
  OBuffer buffer(bytes.data(), bytes.size());
  EXPECT_TRUE(FixDialogTemplate(face, &buffer));
  return std::string(reinterpret_cast<const char*>(buffer.Data()), buffer.Size());
}

TEST(Dialogs, AreShownInTheShellsFont) {
  constexpr DWORD kSetFont = 0x40;
  const WideView empty(TEXT("\0"), 1), ordinal(TEXT("\xFFFF\x0007"), 2), named(TEXT("A menu\0"), 7);
  for (const bool extended : {false, true}) {
    for (const auto menu : {empty, ordinal, named}) {
      for (const auto face : {TEXT(""), TEXT("Old"), TEXT("A rather long face name")}) {
        std::string expected = Dialog(extended, kSetFont, menu, TEXT("MS Shell Dlg"));
        if (extended) expected[26 + menu.size() * 2 + 16 + 5] = DEFAULT_CHARSET;
        const auto letter = expected.find(Units(TEXT("20A"))) + 4;
        expected[letter] = 'W';
        expected.resize((expected.size() + 3) / 4 * 4);
        EXPECT_EQ(Fixed(Dialog(extended, kSetFont, menu, face), "MS Shell Dlg"), expected);
      }
    }
    const std::string fontless = Dialog(extended, 0, empty, TEXT("Old"));
    EXPECT_EQ(Fixed(fontless, "New"), fontless);
    const std::string whole = Dialog(extended, kSetFont, named, TEXT("Old"));
    const size_t faceEnd = whole.find(Units(TEXT("Old"))) + 8;
    for (size_t cut = 0; cut < whole.size(); ++cut) {
      const std::string part = whole.substr(0, cut);
      if (cut < faceEnd) {
        EXPECT_EQ(Fixed(part, "New name"), part) << cut;
      } else {
        EXPECT_EQ(Fixed(part, "New name").size() % 4, 0u) << cut;
      }
    }
  }
  OSVERSIONINFOEXW old = {};
  old.dwOSVersionInfoSize = sizeof old;
  old.dwMajorVersion = 4;
  platform::SetSystemVersion(&old);
  LOGFONTW font = {};
  GetObjectW(GetStockObject(DEFAULT_GUI_FONT), sizeof font, &font);
  EXPECT_EQ(DialogFontFace(), font.lfFaceName);
  platform::SetSystemVersion(nullptr);
  EXPECT_EQ(DialogFontFace(), "MS Shell Dlg");
}

}  // namespace
}  // namespace portwise
