#include <gtest/gtest.h>
#include <stdlib.h>
#include <windows.h>

#include <string>

#include "platform/text.h"
#include "tests/support/last_error.h"

namespace portwise::platform {
namespace {

std::u16string Decode(UINT page, const std::string& bytes, DWORD flags = 0) {
  std::u16string text(bytes.size() * 2, u'#');
  text.resize(static_cast<std::size_t>(MultiByteToWideChar(page, flags, bytes.data(), static_cast<int>(bytes.size()),
                                                           text.data(), static_cast<int>(text.size()))));
  return text;
}

std::string Encode(UINT page, const std::u16string& text, const char* fallback = nullptr, BOOL* used = nullptr) {
  std::string bytes(text.size() * 4, '#');
  bytes.resize(
      static_cast<std::size_t>(WideCharToMultiByte(page, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                                                   static_cast<int>(bytes.size()), fallback, used)));
  return bytes;
}

TEST(CodePages, MalformedUtf8GivesReplacements) {
  const struct {
    std::string bytes;
    std::u16string text;
  } kRows[] = {
      {"a\x80z", u"a\uFFFDz"},
      {"a\xE2\x82", u"a\uFFFD"},          // cut off by the end
      {"\xE2\x82\x41", u"\uFFFD\u0041"},  // by another character
      {"\xF0\x9F\x93\xF0\x9F\x93\x84", u"\uFFFD\U0001F4C4"},
      {"\xC0\xAF", u"\uFFFD\uFFFD"},  // overlong
      {"\xE0\x80\x80", u"\uFFFD\uFFFD\uFFFD"},
      {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},            // a surrogate
      {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},  // beyond U+10FFFF
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(Decode(CP_UTF8, row.bytes), row.text);
    EXPECT_EQ(ToUtf16(row.bytes), row.text);
    EXPECT_EQ(Decode(CP_ACP, row.bytes, MB_ERR_INVALID_CHARS), u"");
  }
  const std::u16string lone = {u'a', 0xD83D, u'b', 0xDCC4, 0xD83D};
  EXPECT_EQ(Encode(CP_UTF8, lone),
            "a\xEF\xBF\xBD"
            "b\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(CodePages, OthersReplaceWhatTheyLack) {
  BOOL used = FALSE;
  EXPECT_EQ(Encode(1252, u"a\u20AC\u0416\U0001F4C4z", nullptr, &used), "a\x80??z");
  EXPECT_TRUE(used);
  EXPECT_EQ(Encode(20127, u"\u00FCx\xD83D", "_"), "_x_");
  EXPECT_EQ(Encode(932, std::u16string(1000, u'\u3042')).size(), 2000u);
  EXPECT_EQ(Decode(932, "a\x82"), u"a\uFFFD");
}

TEST(CodePages, SizesAndArguments) {
  WCHAR wide[4] = {};
  char bytes[4] = {};
  EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "abc", -1, nullptr, 0), 4);
  EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "abc", -1, wide, 4), 4);
  EXPECT_EQ(wide[3], 0);
  EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, u"\u20AC", 1, nullptr, 0, nullptr, nullptr), 3);
  EXPECT_EQ(ErrorOf(MultiByteToWideChar(CP_UTF8, 0, "abc", -1, wide, 3)), ERROR_INSUFFICIENT_BUFFER);
  EXPECT_EQ(ErrorOf(WideCharToMultiByte(CP_UTF8, 0, u"\u20AC", 1, bytes, 2, nullptr, nullptr)),
            ERROR_INSUFFICIENT_BUFFER);
  EXPECT_EQ(ErrorOf(MultiByteToWideChar(4711, 0, "a", 1, wide, 4)), ERROR_INVALID_PARAMETER);
}

TEST(Environment, HasTheProcesssVariablesAndAComputerName) {
  EXPECT_GT(GetEnvironmentVariableA("Path", nullptr, 0), 1u);
  setenv("PORTWISE_COMPUTER_NAME", "print-server-of-the-hall.example.com", 1);
  WCHAR name[MAX_COMPUTERNAME_LENGTH + 1];
  DWORD size = MAX_COMPUTERNAME_LENGTH + 1;
  EXPECT_TRUE(GetComputerNameW(name, &size));
  EXPECT_EQ(ToUtf8(name), "PRINT-SERVER-OF");
  unsetenv("PORTWISE_COMPUTER_NAME");
}

}  // namespace
}  // namespace portwise::platform
