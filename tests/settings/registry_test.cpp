#include "settings/registry.h"

#include <gtest/gtest.h>

#include "platform/registry/registry_control.h"
#include "tests/support/print_ostring.h"
#include "tests/support/temporary_home.h"

namespace portwise {
namespace {

TEST(LogicalPathTest, EscapesAndNativeForms) {
  EXPECT_EQ(EscapeName("50% a/b:c\\d"), OString("50%25 a%2Fb%3Ac\\d"));
  const std::pair<const char*, const char*> escapes[] = {
      {"%2F%6a", "/j"}, {"%2541", "%41"}, {"a%2", "a%2"}, {"a%", "a%"}, {"%zz%4g%%41", "%zz%4g%A"}};
  for (const auto& [escaped, plain] : escapes) EXPECT_EQ(UnescapePath(escaped), OString(plain)) << escaped;
  EXPECT_EQ(UnescapePath("%E4")[0], WCHAR(0xE4));

  for (const char* native :
       {"HKEY_LOCAL_MACHINE\\A\\B 50%\\c/d:e", "HKEY_USERS\\HKEY_USERS\\x", "HKEY_CLASSES_ROOT\\1:"}) {
    EXPECT_EQ(InternalToNative(NativeToInternal(native)), OString(native));
  }
  EXPECT_EQ(NativeToInternal("HKEY_CURRENT_USER\\A/B\\C%"), OString("1:A%2FB/C%25"));
  EXPECT_EQ(NativeToInternal("hkey_Users\\a"), OString("3:a"));
}

TEST(LogicalPathTest, Wildcards) {
  const struct {
    const char* name;
    const char* pattern;
    bool matches;
  } rows[] = {
      {"abc", "ABC", false},
      {"abc", "a?c", true},
      {"ac", "a?c", false},
      {"", "*", true},
      {"", "?", false},
      {"abc", "ab**", true},
      {"aXbXbc", "a*b?d", false},
      {"abcabd", "*abd", true},
      {"mississippi", "m*iss*p?", true},
      {"abc", "", false},
  };
  for (const auto& row : rows)
    EXPECT_EQ(MatchesWildcard(row.name, row.pattern), row.matches) << row.name << row.pattern;
  // Linear backtracking: this would not end if every star tried every split.
  EXPECT_FALSE(MatchesWildcard(OString(std::string(2000, 'a')), OString("*a*a*a*a*a*a*a*a*a*a*a*b")));
}

TEST(LogicalPathTest, RootsAndSplitting) {
  const struct {
    const char *path, *from, *to, *result;
  } replacements[] = {
      {"user:", "USER:", "1:A", "1:A"},       {"User:B", "USER:", "1:A", "1:A/B"},
      {"USERS:B", "USER:", "1:A", "USERS:B"}, {"DATA:B", "DATA:", "PRINT:", "PRINT:B"},
      {"DATA:B", "DATA:", "X:A/", "X:A/B"},   {"X:[PORT]/[PORT]/[port]", "[PORT]", "p", "X:p/p/[port]"},
      {"[port]", "[PORT]", "p", "p"},
  };
  for (const auto& row : replacements) EXPECT_EQ(ReplaceRoot(row.path, row.from, row.to), OString(row.result));

  const struct {
    const char *base, *path, *key, *name;
  } splits[] = {
      {"Settings:", "Logging/Overwrite Files", "Settings:Logging", "Overwrite Files"},
      {"Settings:", "LOCAL:Foo", "LOCAL:", "Foo"},
      {"LOCAL:A//", "B\\C", "LOCAL:A%2F/B", "C"},
      {"LOCAL:A/", "B", "LOCAL:A", "B"},
      {"LOCAL:XPML", "a//b", "LOCAL:XPML", "a/b"},
      {"LOCAL:", "C::x", "LOCAL:", "C:x"},
      {"LOCAL:", "50%%41", "LOCAL:", "50%41"},
      {"", "a/b", "a", "b"},
  };
  for (const auto& row : splits) {
    OString key, name;
    EXPECT_TRUE(SplitPath(JoinPath(NormalizePath(row.base), NormalizePath(row.path)), &key, &name));
    EXPECT_EQ(key, OString(row.key)) << row.path;
    EXPECT_EQ(name, OString(row.name)) << row.path;
  }
  OString key, name;
  EXPECT_FALSE(SplitPath("plain", &key, &name));

  HKEY root = nullptr;
  for (const char* path : {"2:", "2:/", "4:A", "22:A", "-1:A", "LOCAL:A", ":A", "A", ""}) {
    EXPECT_FALSE(ParseRoot(path, &root, &key)) << path;
  }
  EXPECT_TRUE(ParseRoot("3:/A//B%2Fc/", &root, &key));
  EXPECT_EQ(root, HKEY_USERS);
  EXPECT_EQ(key, OString("A\\B/c"));
  EXPECT_EQ(CollapseSeparators("/foo:/bar//x"), OString("/foo:bar/x"));
}

class RegistryTest : public testing::Test {
 protected:
  std::string Keys(const char* path) { return Joined(registry_.EnumKeysMatching(path, &names_)); }
  std::string Values(const char* path) { return Joined(registry_.EnumValuesMatching(path, &names_)); }
  /// The listed names with "|" after each, or the failure.
  std::string Joined(int count) {
    if (count < 0) return "none";
    EXPECT_EQ(count, names_.Size());
    std::string text;
    for (const OString& name : names_) text += name.InCodePage(kCodePageUtf8) + "|";
    return text;
  }

  TemporaryHome home_;
  ORegistry registry_;
  OStringArray names_;
};

TEST_F(RegistryTest, TypedValues) {
  const OString text(TEXT("caf\u00E9 \u20AC"));
  EXPECT_EQ(registry_.GetString("LOCAL:A/Text", "none"), OString("none"));
  EXPECT_TRUE(registry_.SetString("LOCAL:A/Text", text));
  EXPECT_EQ(registry_.GetString("local:a/TEXT"), text);
  EXPECT_TRUE(registry_.SetDword("LOCAL:A/Number", 0x80000001u) && registry_.SetInt("LOCAL:A/Int", -5));
  EXPECT_EQ(registry_.GetDword("LOCAL:A/Number"), 0x80000001u);
  EXPECT_EQ(registry_.GetInt("LOCAL:A/Int"), -5);
  for (const bool flag : {true, false}) {
    EXPECT_TRUE(registry_.SetBool("LOCAL:A/Flag", flag));
    EXPECT_EQ(registry_.GetBool("LOCAL:A/Flag", !flag), flag);
  }

  const struct {
    const char* path;
    DWORD type, size;
  } stored[] = {{"LOCAL:A/Text", REG_SZ, 14},
                {"LOCAL:A/Number", REG_DWORD, 4},
                {"LOCAL:A/Int", REG_BINARY, 4},
                {"LOCAL:A/Flag", REG_BINARY, 1}};
  for (const auto& row : stored) {
    DWORD type = 0, size = 0;
    EXPECT_TRUE(registry_.GetValueInfo(row.path, &type, &size) && type == row.type && size == row.size) << row.path;
  }
  EXPECT_FALSE(registry_.GetValueInfo("LOCAL:A"));

  // Lengths that do not fit the type give the default.
  EXPECT_TRUE(registry_.GetBool("LOCAL:A/Number", true));
  EXPECT_EQ(registry_.GetDword("LOCAL:A/Flag", 7), 7u);
  EXPECT_EQ(registry_.SetBinary("LOCAL:A/Empty", "", 0), 0);
  EXPECT_EQ(registry_.GetString("LOCAL:A/Empty", "default"), OString("default"));
  EXPECT_EQ(registry_.SetBinary("LOCAL:A/One", "x", 1), 1);
  EXPECT_EQ(registry_.GetString("LOCAL:A/One", "default"), OString());
  EXPECT_TRUE(registry_.SetString("LOCAL:A/Long", OString(std::string(4095, 'x'))));
  EXPECT_EQ(registry_.GetString("LOCAL:A/Long").Length(), 4095);
  EXPECT_TRUE(registry_.SetString("LOCAL:A/Long", OString(std::string(4096, 'x'))));
  EXPECT_EQ(registry_.GetString("LOCAL:A/Long", "default"), OString("default"));

  char bytes[100] = "untouched";
  const std::string stored70(70, 'b');
  EXPECT_EQ(registry_.SetBinary("LOCAL:A/Bytes", stored70.data(), 70), 70);
  EXPECT_EQ(registry_.GetBinary("LOCAL:A/Bytes", bytes, 69), -1);
  EXPECT_STREQ(bytes, "untouched");
  EXPECT_EQ(registry_.GetBinary("LOCAL:A/Bytes", bytes, 100), 70);
  EXPECT_EQ(std::string(bytes, 70), stored70);
  EXPECT_EQ(registry_.GetBinary("LOCAL:B/Bytes", bytes, 100), -1);
  EXPECT_FALSE(registry_.GetKeyInfo("LOCAL:B")) << "a read makes no key";
}

TEST_F(RegistryTest, MultiStrings) {
  OStringArray list;
  for (const char* text : {"one", "", "two"}) list.Append(text);
  EXPECT_TRUE(registry_.SetMultiString("LOCAL:A/List", list));
  EXPECT_TRUE(registry_.GetMultiString("LOCAL:A/List", &list));
  ASSERT_EQ(list.Size(), 2);
  EXPECT_EQ(list[1], OString("two"));
  EXPECT_FALSE(registry_.GetMultiString("LOCAL:A/None", &list));
  EXPECT_EQ(list.Size(), 2);
  EXPECT_TRUE(registry_.SetMultiString("LOCAL:A/List", {}));
  EXPECT_TRUE(registry_.GetMultiString("LOCAL:A/List", &list));
  EXPECT_TRUE(list.IsEmpty());
}

TEST_F(RegistryTest, PathsReachTheirKeys) {
  const struct {
    const char *path, *native;
  } rows[] = {
      {"USER:Printers", "HKEY_CURRENT_USER\\SOFTWARE\\Corvane\\Drivers\\Printers"},
      {"local:", "HKEY_LOCAL_MACHINE\\SOFTWARE\\Corvane\\Drivers"},
      {"GLOBAL:A//B/C", "HKEY_LOCAL_MACHINE\\SOFTWARE\\Corvane\\Drivers\\Global Settings\\A/B\\C"},
      {"PRINT:Monitors\\X", "HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Print\\Monitors\\X"},
      {"USERS:A", "HKEY_USERS\\A"},
      {"0:A%41", "HKEY_CLASSES_ROOT\\AA"},
      {"NOWHERE:A", ""},
  };
  for (const auto& row : rows) EXPECT_EQ(registry_.NativePath(row.path), OString(row.native)) << row.path;
  EXPECT_FALSE(registry_.SetDword("NOWHERE:A/v", 1));
  EXPECT_FALSE(registry_.SetDword("LOCAL_MACHINE:v", 1)) << "a root itself cannot be opened";

  // The registry itself agrees on where the value is, and an escaped separator is part of its name.
  EXPECT_TRUE(registry_.SetDword("LOCAL:XPML/a//b%3A", 3));
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, TEXT("software\\corvane\\drivers\\xpml"), 0, KEY_READ, &key), 0);
  DWORD value = 0, size = sizeof value;
  EXPECT_EQ(RegQueryValueExW(key, TEXT("a/b:"), nullptr, nullptr, reinterpret_cast<BYTE*>(&value), &size), 0);
  EXPECT_EQ(value, 3u);
  RegCloseKey(key);

  registry_.SetBasePath("LOCAL:XPML");
  EXPECT_EQ(registry_.GetDword("a//b::"), 3u);
  EXPECT_EQ(registry_.NativePath("C"), OString("HKEY_LOCAL_MACHINE\\SOFTWARE\\Corvane\\Drivers\\XPML\\C"));
  EXPECT_TRUE(registry_.SetDword("", 9)) << "the value that the base path names";
  EXPECT_EQ(ORegistry("LOCAL:").GetDword("XPML"), 0u);
}

TEST_F(RegistryTest, Enumeration) {
  for (const char* path : {"LOCAL:E/b/v", "LOCAL:E/C/v", "LOCAL:E/a/v", "LOCAL:E/b", "LOCAL:E/C", "LOCAL:E/50%%//"}) {
    EXPECT_TRUE(registry_.SetDword(path, 1));
  }
  EXPECT_EQ(Keys("LOCAL:E"), "C|a|b|");
  EXPECT_EQ(Values("LOCAL:E"), "50%/|C|b|");
  EXPECT_EQ(Keys("LOCAL:E/?"), "C|a|b|");
  EXPECT_EQ(Values("LOCAL:E/5*"), "50%/|");
  EXPECT_EQ(Keys("LOCAL:E/c*"), "");
  EXPECT_EQ(Keys("LOCAL:None"), "none");
  EXPECT_EQ(Keys("LOCAL:None/*"), "none");
  EXPECT_EQ(Values("relative"), "none");
  DWORD keys = 0, values = 0;
  EXPECT_TRUE(registry_.GetKeyInfo("LOCAL:E", &keys, &values) && keys == 3 && values == 3) << keys << ' ' << values;
  EXPECT_FALSE(registry_.GetKeyInfo("LOCAL:E/50%%//"));

  // A wildcard before the last component is a name like any other.
  EXPECT_TRUE(registry_.SetDword("LOCAL:E/*/sub/v", 1));
  EXPECT_EQ(Keys("LOCAL:E/*/s*"), "sub|");
  // A name past the buffer ends the list.
  EXPECT_TRUE(registry_.SetDword(OString("LOCAL:E/a/") + OString(std::string(260, 'n')), 1));
  EXPECT_EQ(registry_.EnumValues("LOCAL:E/a", &names_), 2);
  EXPECT_TRUE(registry_.SetDword(OString("LOCAL:E/a/") + OString(std::string(261, 'n')), 1));
  EXPECT_EQ(registry_.EnumValues("LOCAL:E/a", &names_), 1);
}

TEST_F(RegistryTest, Deletion) {
  for (const char* path : {"LOCAL:D/abk/deep/v", "LOCAL:D/Abz/v", "LOCAL:D/xk/x%%//y/v", "LOCAL:D/ab1", "LOCAL:D/Ab2",
                           "LOCAL:D/ab%5Ck", "LOCAL:D/both/v", "LOCAL:D/both"}) {
    EXPECT_TRUE(registry_.SetDword(path, 1));
  }
  EXPECT_FALSE(registry_.Delete("LOCAL:D/xk"));
  EXPECT_EQ(Keys("LOCAL:D/xk"), "x%/y|") << "nothing is deleted";
  EXPECT_TRUE(registry_.Delete("LOCAL:D/xk", true));
  EXPECT_FALSE(registry_.Delete("LOCAL:D/xk", true));
  // The key goes first, then the value of its name.
  EXPECT_TRUE(registry_.Delete("LOCAL:D/both"));
  EXPECT_EQ(Values("LOCAL:D"), "Ab2|ab1|ab\\k|both|");
  EXPECT_TRUE(registry_.Delete("LOCAL:D/both"));

  EXPECT_TRUE(registry_.DeleteMatching("LOCAL:D/ab*", false));
  EXPECT_EQ(Values("LOCAL:D"), "Ab2|");
  EXPECT_EQ(Keys("LOCAL:D"), "Abz|abk|") << "keys with subkeys stay";
  EXPECT_TRUE(registry_.DeleteMatching("LOCAL:D/ab*"));
  EXPECT_EQ(Keys("LOCAL:D"), "Abz|");
  EXPECT_FALSE(registry_.DeleteMatching("NOWHERE:D/*"));
  // A key that has to stay keeps what is below it.
  EXPECT_TRUE(registry_.SetDword("LOCAL_MACHINE:Top/deep/v", 1));
  EXPECT_FALSE(registry_.Delete("LOCAL_MACHINE:Top", true));
  EXPECT_EQ(Keys("LOCAL_MACHINE:Top"), "deep|");

  // A path that ends with its key names the default value, never the key.
  EXPECT_FALSE(registry_.Delete("LOCAL:D/", true));
  EXPECT_FALSE(registry_.Delete("LOCAL:", true));
  EXPECT_TRUE(registry_.SetDword("LOCAL:D/", 1));
  EXPECT_TRUE(registry_.Delete("LOCAL:D/"));
  // Nor does a NUL make a name of what stands before it.
  EXPECT_FALSE(registry_.Delete("LOCAL:D%00x", true));
  EXPECT_FALSE(registry_.SetDword("LOCAL:D%00x/new", 1) || registry_.SetDword("LOCAL:D/new%00x", 1));
  OStringArray lines;
  EXPECT_TRUE(registry_.Export("LOCAL:D%00x", &lines) && lines.Size() <= 2) << "there is no end below such a key";
  EXPECT_EQ(Values("LOCAL:D"), "Ab2|");
  EXPECT_EQ(Keys("LOCAL:D"), "Abz|");
}

#ifndef _WIN32
TEST_F(RegistryTest, SecurityRules) {
  EXPECT_TRUE(registry_.SetDword("LOCAL:S/Child/v", 1));
  EXPECT_FALSE(registry_.SetKeySecurity("LOCAL:None", ORegistry::kEveryoneReads));
  const auto writable = [&](const char* path) {
    platform::SetRegistryRole(platform::RegistryRole::Everyone);
    const bool written = registry_.SetDword(path, 2);
    EXPECT_EQ(registry_.GetDword(path, 2), written ? 2u : 1u) << "reading is allowed throughout";
    EXPECT_EQ(registry_.SetDword(OString(path) + "/below", 1), written) << "a key needs the same right";
    EXPECT_EQ(registry_.Delete(path, true), written);
    platform::SetRegistryRole(platform::RegistryRole::Actual);
    EXPECT_TRUE(registry_.SetDword(path, 1)) << "administrators always write";
    return written;
  };
  EXPECT_TRUE(writable("LOCAL:S/Child/v"));
  EXPECT_TRUE(registry_.SetKeySecurity("LOCAL:S", ORegistry::kEveryoneReads));
  EXPECT_FALSE(writable("LOCAL:S/Child/v"));
  EXPECT_TRUE(registry_.SetKeySecurity("LOCAL:S/Child", ORegistry::kEveryoneWrites));
  EXPECT_TRUE(writable("LOCAL:S/Child/v"));
  EXPECT_TRUE(registry_.SetKeySecurity("LOCAL:S", ORegistry::kRecursive | ORegistry::kEveryoneReads));
  EXPECT_FALSE(writable("LOCAL:S/Child/v")) << "the child's own rules are gone";
  EXPECT_TRUE(registry_.SetKeySecurity("LOCAL:S", ORegistry::kRecursive | ORegistry::kEveryoneWrites));
  EXPECT_TRUE(writable("LOCAL:S/Child/v"));

  EXPECT_TRUE(registry_.SetKeySecurity("LOCAL:New/Key", ORegistry::kCreateMissing | ORegistry::kEveryoneReads));
  EXPECT_TRUE(registry_.SetDword("LOCAL:New/Key/v", 1));
  EXPECT_FALSE(writable("LOCAL:New/Key/v"));
  registry_.SetBasePath("LOCAL:New");
  EXPECT_TRUE(registry_.SetKeySecurity("Key", ORegistry::kEveryoneWrites));
  EXPECT_TRUE(writable("LOCAL:New/Key/v"));
}
#endif

}  // namespace
}  // namespace portwise
