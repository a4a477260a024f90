#include <gmock/gmock.h>

#include "platform/text.h"
#include "settings/registry.h"
#include "tests/support/files.h"
#include "tests/support/spooler_home.h"

namespace portwise::test {
namespace {

void Expect(const std::string& command, int code = 0, const std::string& told = {}) {
  ExpectRun("registry " + command, code, told);
}

std::string Utf16File(const std::string& text) {
  const std::u16string units = platform::ToUtf16(text);
  return "\xFF\xFE" + std::string(reinterpret_cast<const char*>(units.data()), units.size() * 2);
}

TEST(RegistryFiles, ExportIsTheRegistryEditorsFileAndImportsAgain) {
  SpoolerHome home;
  const std::string file = home.File("a.reg");
  Expect("set 'LOCAL:T/gr\u00FC\u00DFe' 'C:\\\U0001F600 \"x\"'");
  Expect("set LOCAL:T/sub/n 10 --type dword");
  Expect("export LOCAL:T --checksum --delete-first --file " + file);
  const std::string key = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Corvane\\Drivers\\T";
  const std::string text = "Windows Registry Editor Version 5.00\r\n\r\n[-" + key + "]\r\n\r\n[" + key +
                           "]\r\n\"gr\u00FC\u00DFe\"=\"C:\\\\\U0001F600 \\\"x\\\"\"\r\n\r\n[" + key +
                           "\\sub]\r\n\"n\"=dword:0000000a\r\n\r\n";
  EXPECT_TRUE(ReadFile(file) == Utf16File(text));
  EXPECT_EQ(RunProgram("portwise registry export '" + key + "' --delete-first --utf8").output, text);
  EXPECT_EQ(RunProgram("portwise registry export LOCAL:T --delete-first | iconv -f UTF-16 -t UTF-8").output, text);

  // Back from every encoding, with what only the registry has replaced.
  for (const std::string encoding : {"UTF-16", "UTF-16BE", "UTF-8"}) {
    const std::string mark = encoding == "UTF-8" ? "\xEF\xBB\xBF" : encoding == "UTF-16BE" ? "\xFE\xFF" : "";
    Expect("delete LOCAL:T/sub --recursive; printf '" + mark + "' > " + file + "2; iconv -f UTF-16 -t " + encoding +
           " " + file + " >> " + file + "2");
    Expect("set LOCAL:T/extra x");
    Expect("import " + file + "2");
    Expect("list LOCAL:T/sub", 0, "n = dword: 10\n");
    Expect("get LOCAL:T/extra", 1, "");
  }
  Expect("import --replace - < " + file);
  EXPECT_EQ(RunProgram("portwise registry export LOCAL:T --utf8 --delete-first").output, text);

  Expect("export LOCAL:None", 1, "no key LOCAL:None");
  Expect("export LOCAL:T --file " + home.File("no/folder"), 1, "cannot open");
  Expect("export LOCAL:T 2>&1 >/dev/full", 1, "portwise: the output cannot be written");
  Expect("set LOCAL:T/long $(printf '%05000d' 0)");
  for (const char* command : {"get LOCAL:T/long", "list LOCAL:T", "list --help"})
    Expect(std::string(command) + " 2>&1 >/dev/full", 1, "portwise: the output cannot be written");
  Expect("import " + home.File("none"), 1, "cannot open");
  Expect("import " + home.Path(), 1, "cannot read");
  Expect("import " + home.File("none") + " </dev/null; true");
}

TEST(RegistryFiles, WhatIsGoodInABadFileIsApplied) {
  SpoolerHome home;
  const std::string file = home.File("bad.reg");
  WriteBytes(
      file,
      "REGEDIT4\n\n; kept by hand\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Corvane\\Drivers\\T]\n\"good\"=\"1\"\nrubbish\n"
      "[HKEY_NOWHERE\\T]\n\"a\"=\"1\"\n\xFF\xFE\x80\n"
      "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Corvane\\Drivers\\U]\n\"last\"=\"no line end\"");
  Expect("import " + file, 1, "lines skipped, everything else was applied: 4\n");
  Expect("get LOCAL:T/good", 0, "1\n");
  Expect("get LOCAL:U/last", 0, "no line end\n");
  WriteBytes(file, std::string(100000, '\0') + "\n[" + std::string(100000, 'x'));
  Expect("import " + file, 1, "skipped");
}

TEST(RegistryFiles, TellOfWhatTheyCannotCarry) {
  SpoolerHome home;
  Expect("set 'LOCAL:T/a%5Cb' hello");
  Expect("list LOCAL:T", 0, "a\\b = string: hello\n");
  Expect("export LOCAL:T");
  const std::pair<std::string, const char*> rows[] = {
      {"'LOCAL:T/c%5Cd' $(printf '%05000d' 0)", "exported as empty: 1\n"},
      {"LOCAL:T/e --type multi $(printf '%05000d' 0)", "of more than 8192 bytes, left out: 1\n"},
      {"LOCAL:T/f \"$(printf 'x\\ny')\"", "with a line end, cut off there by an import: 1\n"},
      {"\"LOCAL:T/$(printf 'g\\rh')/i\" x", "with a line end, cut off there by an import: 2\n"},
      {"LOCAL:T/$(printf '%0261d' 0) x", "of more than 260 characters, left out: "},
  };
  for (const auto& [order, told] : rows) {
    Expect("set " + order);
    Expect("export LOCAL:T --file " + home.File("a.reg"), 1, told);
  }
  ORegistry().SetValueRaw("LOCAL:U/n", "12345678", 8, REG_DWORD);
  Expect("export LOCAL:U --utf8", 1, "\"n\"=dword:00000000\r\n");
  Expect("export LOCAL:U --utf8", 1, "numbers of other than 4 bytes, exported as 0: 1\n");
}

}  // namespace
}  // namespace portwise::test
