#include "settings/registry_text.h"

#include <gtest/gtest.h>

#include <random>

#include "settings/registry.h"
#include "settings/settings_keys.h"
#include "tests/support/temporary_home.h"

namespace portwise {
namespace {

class RegistryTextTest : public testing::Test {
 protected:
  /// The export of a key, "\n" after each line.
  std::string Exported(const OString& path, DWORD flags = 0) {
    OStringArray lines;
    EXPECT_TRUE(registry_.Export(path, &lines, flags));
    return Joined(lines);
  }
  static std::string Joined(const OStringArray& lines) {
    std::string text;
    for (const OString& line : lines) text += line.InCodePage(kCodePageUtf8) + "\n";
    return text;
  }
  /// Imports lines and returns how many were skipped.
  int Import(std::string text, DWORD flags = 0) {
    OStringArray lines;
    for (size_t end; (end = text.find('\n')) != text.npos; text.erase(0, end + 1))
      lines.Append(OString(text.substr(0, end), kCodePageUtf8));
    int skipped = -1;
    EXPECT_TRUE(registry_.Import(lines, flags, &skipped));
    return skipped;
  }
  /// All there is below a key, read value by value; one string for each key and value.
  std::vector<std::string> Content(const OString& key) {
    std::vector<std::string> all;
    OStringArray names;
    registry_.EnumValues(key, &names);
    for (const OString& name : names) {
      DWORD type = 0, size = 0;
      const OString path = ChildPath(key, "") + ValuePath(name);
      EXPECT_TRUE(registry_.GetValueInfo(path, &type, &size)) << path.Narrow();
      std::string bytes(size, '?');
      EXPECT_EQ(registry_.GetBinary(path, bytes.data(), size), static_cast<int>(size));
      all.push_back(path.InCodePage(kCodePageUtf8) + "|" + std::to_string(type) + "|" + bytes);
    }
    names.Clear();
    registry_.EnumKeys(key, &names);
    for (const OString& name : names) {
      const std::vector<std::string> below = Content(ChildPath(key, name));
      all.push_back(ChildPath(key, name).InCodePage(kCodePageUtf8));
      all.insert(all.end(), below.begin(), below.end());
    }
    return all;
  }

  TemporaryHome home_;
  ORegistry registry_;
};

constexpr char kHeader[] = "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Corvane\\Drivers\\E]\n";

TEST_F(RegistryTextTest, WritesWhatARegistryEditorWould) {
  std::string counted;
  for (char i = 0; i < 40; ++i) counted += i;
  registry_.SetDword("LOCAL:E/b", 10);
  registry_.SetBinary("LOCAL:E/A", counted.data(), 40);
  registry_.SetDword("LOCAL:E/(CRC32)", 1);
  registry_.SetBinary("LOCAL:E/empty", "", 0);
  registry_.SetString("LOCAL:E/quoted \"%5C\"", "C:\\a \"b\"");
  OStringArray list;
  for (const char* text : {"x", "yz"}) list.Append(text);
  registry_.SetMultiString("LOCAL:E/list", list);
  registry_.SetValueRaw("LOCAL:E/list of 0", "", 0, REG_MULTI_SZ);
  list.Append(OString(std::string(ORegistry::kMaxTextBytes / sizeof(WCHAR), 'x')));
  registry_.SetMultiString("LOCAL:E/list too long", list);
  registry_.SetValueRaw("LOCAL:E/q", "\1\2\xFF", 3, 11);
  registry_.SetString(OString("LOCAL:E/") + OString(std::string(72, 'n')), "");
  registry_.SetBinary(OString("LOCAL:E/") + OString(std::string(73, 'o')), "\1", 1);
  registry_.SetDword("LOCAL:E/Sub [2]/a//b::%%41/v", 0xABCDEF01);
  EXPECT_EQ(Exported("LOCAL:E", ORegistry::kDeleteFirst), R"x([-HKEY_LOCAL_MACHINE\SOFTWARE\Corvane\Drivers\E]

[HKEY_LOCAL_MACHINE\SOFTWARE\Corvane\Drivers\E]
"A"=hex:00,01,02,03,04,05,06,07,08,09,0a,0b,0c,0d,0e,0f,10,11,12,13,14,15,16,\
  17,18,19,1a,1b,1c,1d,1e,1f,20,21,22,23,24,25,26,27
"b"=dword:0000000a
"empty"=hex:
"list"=hex(7):78,00,00,00,79,00,7a,00,00,00,00,00
"list of 0"=hex(7):00,00
"nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn"=""
"ooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooo"=hex:\
  01
"q"=hex(11):01,02,ff
"quoted \"\\\""="C:\\a \"b\""

[HKEY_LOCAL_MACHINE\SOFTWARE\Corvane\Drivers\E\Sub [2]]

[HKEY_LOCAL_MACHINE\SOFTWARE\Corvane\Drivers\E\Sub [2]\a/b:%41]
"v"=dword:abcdef01

)x");
  EXPECT_TRUE(registry_.BasePath() == "2:SOFTWARE/Corvane/Drivers/E/Sub [2]/a%2Fb%3A%2541");
  OStringArray lines;
  EXPECT_FALSE(registry_.Export("NOWHERE:E", &lines));
  EXPECT_TRUE(lines.IsEmpty());
}

TEST_F(RegistryTextTest, ChecksumIsThatOfTheLinesOfTheCall) {
  registry_.SetDword("LOCAL:E/Sum/n", 1);
  OStringArray lines;
  lines.Append("a line from before");
  EXPECT_TRUE(registry_.Export("LOCAL:E/Sum", &lines, ORegistry::kStoreChecksum));
  EXPECT_EQ(registry_.GetDword("LOCAL:E/Sum/(CRC32)"), 0x08E23F1Du);
  Exported("LOCAL:E/Sum", ORegistry::kStoreChecksum | ORegistry::kDeleteFirst);
  EXPECT_EQ(registry_.GetDword("LOCAL:E/Sum/(CRC32)"), 0x71711E75u);
  registry_.SetDword("LOCAL:E/Sum/deep/n", 1);
  Exported("LOCAL:E/Sum", ORegistry::kStoreChecksum);
  const DWORD sum = registry_.GetDword("LOCAL:E/Sum/(CRC32)");
  registry_.SetDword("LOCAL:E/Sum/deep/n", 2);
  Exported("LOCAL:E/Sum", ORegistry::kStoreChecksum);
  EXPECT_NE(registry_.GetDword("LOCAL:E/Sum/(CRC32)"), sum) << "subkeys count";
}

TEST_F(RegistryTextTest, ReadsWhatItCanAndCountsTheRest) {
  const struct {
    const char *lines, *result;
    int skipped;
  } rows[] = {
      {"\"a\"=hex(2):25,00\n", "\"a\"=hex:25,00\n", 0},
      {"  \"a\"=hex:01,\\  \n\t02,\r\n03\n", "\"a\"=hex:01,02,03\n", 0},
      {"\"a\"=hex:01,\\\n; between\n  02\n", "\"a\"=hex:01,02\n", 0},
      {"\"a\"=hex(7):61,00,00,00,62\n", "\"a\"=hex(7):61,00,00,00,00,00\n", 0},
      {"\"a\"=dword:ABCD\n", "\"a\"=dword:0000abcd\n", 0},
      {"\"a\"=\"x\\y\\\\z\\\"\"\n", "\"a\"=\"x\\\\y\\\\z\\\"\"\n", 0},
      {"\"C:\\\"=\"x\"\n", "\"C:\\\\\"=\"x\"\n", 0},
      {"\"a\\\"=b\"=\"x\"\n", "\"a\\\"=b\"=\"x\"\n", 0},
      // Broken lines never take a good one with them.
      {"\"a\"=hex:01,02,\n\"b\"=\"x\"\n", "\"b\"=\"x\"\n", 1},
      {"\"a\"=hex:01,\\\n  02,\\\n\n", "", 2},
      {"\"a\"=hex:1\n\"a\"=hex:01,,02\n\"a\"=hex:zz\n\"a\"=hex\n", "", 4},
      {"\"a\"=dword:\n\"a\"=dword:x\n\"a\"=1\n\"a\n@=\"x\"\na=\"x\"\n", "", 6},
      // A text that broke off is what there is of it.
      {"\"a\"=\"\n\"b\"=\"x\ny\"\n", "\"a\"=\"\"\n\"b\"=\"x\"\n", 1},
      {"\"a\"=\"x,\n\"\n\"b\"=\"y,\\\\\n", "\"a\"=\"x,\"\n\"b\"=\"y,\"\n", 1},
      {"; a comment\n[OTHER\\E]\n\"a\"=\"x\"\n", "", 2},
      {"[HKEY_LOCAL_MACHINE\\]\n\"a\"=\"x\"\n[-OTHER\\E]\n[-]\n[]\n", "", 5},
      {"[[hkey_local_machine\\SOFTWARE\\Corvane\\Drivers\\E\\]]\n\"a\"=\"x\"\n", "\"a\"=\"x\"\n", 0},
      // Not a header but what a line end left of a text.
      {"[HKEY_LOCAL_MACHINE\\SOFTWARE\\Corvane\\\\Drivers\\E]\n\"a\"=\"x\"\n", "", 2},
      {"\"a\"=\"x\n[-HKEY_LOCAL_MACHINE\\\\SOFTWARE\\\\Corvane\\\\Drivers\\\\E]\"\n", "\"a\"=\"x\"\n", 1},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Import(std::string("[-") + (kHeader + 1) + kHeader + row.lines), row.skipped) << row.lines;
    EXPECT_EQ(Exported("LOCAL:E"), kHeader + std::string(row.result) + "\n") << row.lines;
  }
  const WideString nul(1, WCHAR());
  OStringArray lines;
  lines.Append("[-HKEY_LOCAL_MACHINE\\SOFTWARE\\Corvane\\Drivers\\E" + OString(nul) + "x]");
  lines.Append("[HKEY_LOCAL_MACHINE\\SOFTWARE\\Corvane\\Drivers\\E]");
  lines.Append("\"a" + OString(nul) + "b\"=\"x\"");
  int skipped = 0;
  EXPECT_TRUE(registry_.Import(lines, 0, &skipped) && skipped == 2) << "another key, another value";
  // A name that no enumeration gives would hide the names after it.
  for (const size_t length : {260, 261}) {
    const std::string line = "\"" + std::string(length, 'n') + "\"=\"x\"\n";
    EXPECT_EQ(Import(std::string("[-") + (kHeader + 1) + kHeader + line), length > 260 ? 1 : 0);
    EXPECT_EQ(Content("LOCAL:E").size(), length > 260 ? 0u : 1u);
    EXPECT_EQ(registry_.GetValueInfo(OString("LOCAL:E/") + OString(std::string(length, 'n'))), length <= 260);
  }
}

TEST_F(RegistryTextTest, HeadersEmptyAndDeleteKeysAlone) {
  registry_.SetDword("LOCAL:E/K/old/v", 1);
  registry_.SetDword("LOCAL:E/K/v", 1);
  registry_.SetDword("LOCAL:E/gone", 1);
  const std::string key = std::string(kHeader, sizeof kHeader - 3) + "\\K";
  EXPECT_EQ(Import(key + "]\n\"n\"=\"x\"\n"), 0);
  EXPECT_TRUE(registry_.GetKeyInfo("LOCAL:E/K/old"));
  EXPECT_EQ(Import(key + "]\n\"n\"=\"x\"\n", ORegistry::kReplaceKeys), 0);
  EXPECT_EQ(Exported("LOCAL:E/K"), key + "]\n\"n\"=\"x\"\n\n");
  EXPECT_EQ(Import("[-" + key.substr(1) + "\\]\n[-HKEY_LOCAL_MACHINE\\SOFTWARE\\Corvane\\Drivers\\E\\gone]\n"), 0);
  EXPECT_FALSE(registry_.GetKeyInfo("LOCAL:E/K"));
  EXPECT_EQ(registry_.GetDword("LOCAL:E/gone"), 1u) << "a value is not a key";
}

TEST_F(RegistryTextTest, AnImportOfAnExportRestoresTheKey) {
  std::mt19937 random(11);
  const OString alphabet(TEXT("aB\"\"==\\/:%%41[]-,;@(*? \t\r\n\u00E9\u20AC\xD83D\xDE00"));
  const auto text = [&](unsigned longest, const OString& without) {
    OString made;
    for (unsigned length = random() % (longest + 1); length > 0; --length) {
      const WCHAR unit = alphabet[static_cast<int>(random() % static_cast<unsigned>(alphabet.Length()))];
      if (without.Find(unit) < 0) made += unit;
    }
    return made;
  };
  for (int round = 0; round < 60; ++round) {
    OString key = "LOCAL:E";
    for (unsigned value = random() % 12; value > 0; --value) {
      if (random() % 4 == 0) key = ChildPath(random() % 3 ? key : "LOCAL:E", OString("k") + text(90, "\\"));
      const OString path = ChildPath(key, "") + ValuePath(text(90, ""));
      const std::string bytes(random() % 200, static_cast<char>(random()));
      OStringArray list;
      for (unsigned count = random() % 4; count > 0; --count) list.Append(text(60, ""));
      const bool written = random() % 4 == 0   ? registry_.SetString(path, text(4000, ""))
                           : random() % 3 == 0 ? registry_.SetDword(path, static_cast<DWORD>(random()))
                           : random() % 2 == 0 ? registry_.SetMultiString(path, list)
                                               : registry_.SetBinary(path, bytes.data(), bytes.size()) >= 0;
      ASSERT_TRUE(written);
    }
    if (round == 59) registry_.SetBinary("LOCAL:E/megabyte", std::string(1 << 20, 'm').data(), 1 << 20);
    const std::vector<std::string> before = Content("LOCAL:E");
    OStringArray lines;
    registry_.Export("LOCAL:E", &lines, ORegistry::kDeleteFirst);
    registry_.SetDword("LOCAL:E/extra/v", 1);
    int skipped = -1;
    registry_.Import(lines, 0, &skipped);
    ASSERT_EQ(skipped, 0) << Joined(lines);
    ASSERT_EQ(Content("LOCAL:E"), before) << Joined(lines);
  }
}

TEST_F(RegistryTextTest, SettingsTravelByTheirLogicalNames) {
  struct Printer : ORegistry {
    OString TranslateRoots(const OString& key) const override {
      return ORegistry::TranslateRoots(ReplaceRoot(key, "DATA:", "PRINT:Printers/Label/PrinterDriverData"));
    }
  } printer;
  for (const char* path : {"DATA:Settings/v", "DATA:a//b/v", "LOCAL:X16/v", "LOCAL:XPML/v", "LOCAL:Network/v",
                           "LOCAL:xpml2/v", "LOCAL:Paper Sizes/v"}) {
    printer.SetDword(path, 1);
  }
  OStringArray lines;
  lines.Append("replaced");
  ListSettingsKeys(printer, &lines);
  EXPECT_EQ(Joined(lines), "DATA:Settings\nDATA:a%2Fb\nLOCAL:Paper Sizes\nLOCAL:xpml2\n");

  const std::string native = "HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\Label";
  lines.Clear();
  for (const char* after : {"\\PrinterDriverData\\Settings]", "\\printerdriverdata]", "\\Other]"}) {
    for (const char* before : {"[", "[-", "\"x\"=\"["}) lines.Append(OString(before + native + after));
  }
  const OStringArray before = lines;
  HeadersToLogical(printer, "NOWHERE:", &lines);
  EXPECT_EQ(Joined(lines), Joined(before));
  HeadersToLogical(printer, "DATA:", &lines);
  EXPECT_EQ(Joined(lines), "[DATA:\\Settings]\n[-DATA:\\Settings]\n\"x\"=\"[" + native +
                               "\\PrinterDriverData\\Settings]\n[DATA:]\n[-DATA:]\n\"x\"=\"[" + native +
                               "\\printerdriverdata]\n[" + native + "\\Other]\n[-" + native + "\\Other]\n\"x\"=\"[" +
                               native + "\\Other]\n");
  lines[0] = "[data:\\Settings]";
  HeadersToNative(printer, "DATA:", &lines);
  for (int i = 0; i < lines.Size(); ++i) EXPECT_TRUE(lines[i].EqualsNoCase(before[i])) << i;
}

}  // namespace
}  // namespace portwise
