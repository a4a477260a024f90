#include <gtest/gtest.h>
#include <iconv.h>
#include <stdlib.h>
#include <windows.h>

#include <random>
#include <string>

#include "platform/error_text.h"
#include "platform/text.h"
#include "tests/support/last_error.h"

namespace portwise::platform {
namespace {

using namespace std::string_literals;

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

/// What the C library makes of bytes that are right; empty when they are not.
std::u16string Reference(const char* page, const std::string& bytes) {
  const iconv_t converter = iconv_open("UTF-16LE", page);
  std::u16string text(bytes.size() * 2, 0);
  char* in = const_cast<char*>(bytes.data());
  char* out = reinterpret_cast<char*>(text.data());
  std::size_t inLeft = bytes.size(), outLeft = text.size() * 2;
  const bool good = iconv(converter, &in, &inLeft, &out, &outLeft) != static_cast<std::size_t>(-1);
  iconv_close(converter);
  text.resize(good ? text.size() - outLeft / 2 : 0);
  return text;
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
      {"\xFF\xFE", u"\uFFFD\uFFFD"},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(Decode(CP_UTF8, row.bytes), row.text);
    EXPECT_EQ(ToUtf16(row.bytes), row.text);
    EXPECT_EQ(Decode(CP_ACP, row.bytes, MB_ERR_INVALID_CHARS), u"");
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_UNICODE_TRANSLATION});
  }
  const std::u16string lone = {u'a', 0xD83D, u'b', 0xDCC4, 0xD83D};
  EXPECT_EQ(Encode(CP_UTF8, lone),
            "a\xEF\xBF\xBD"
            "b\xEF\xBF\xBD\xEF\xBF\xBD");
}

// Random bytes, half of them from the ranges of leads and continuations: right text agrees with the C library, and
// text that it refuses is refused.
TEST(CodePages, Utf8AgreesWithTheSystemsConverter) {
  std::mt19937 random(20240501);
  for (int round = 0; round < 20'000; ++round) {
    std::string bytes;
    for (auto n = 1 + random() % 5; n > 0; --n) {
      bytes += static_cast<char>(random() % 2   ? random() % 256
                                 : random() % 3 ? 0x80 | random() % 64
                                                : 0xE0 | random() % 32);
    }
    const auto expected = Reference("UTF-8", bytes);
    ASSERT_EQ(Decode(CP_UTF8, bytes, MB_ERR_INVALID_CHARS), expected);
    if (!expected.empty()) {
      ASSERT_EQ(Encode(CP_UTF8, expected), bytes);
    }
  }
}

TEST(CodePages, OthersAgreeWithTheSystemsConverter) {
  const struct {
    UINT page;
    const char* name;
  } kPages[] = {{1252, "CP1252"}, {437, "CP437"}, {932, "CP932"}, {20127, "ASCII"}, {28605, "ISO-8859-15"}};
  for (const auto& [page, name] : kPages) {
    for (int lead = 0; lead < 256; ++lead) {
      for (const int trail : {-1, 0x41, 0x9F, 0xFC}) {
        std::string bytes(1, static_cast<char>(lead));
        if (trail >= 0) bytes += static_cast<char>(trail);
        const auto expected = Reference(name, bytes);
        ASSERT_EQ(Decode(page, bytes, MB_ERR_INVALID_CHARS), expected) << page << " " << lead << " " << trail;
        ASSERT_EQ(expected.empty(), Decode(page, bytes).find(0xFFFD) != std::u16string::npos);
      }
    }
  }
  BOOL used = FALSE;
  EXPECT_EQ(Encode(1252, u"a\u20AC\u0416\U0001F4C4z", nullptr, &used), "a\x80??z");
  EXPECT_TRUE(used);
  EXPECT_EQ(Encode(20127, u"\u00FCx\xD83D", "_"), "_x_");
  EXPECT_EQ(Encode(1252, u"a", nullptr, &used), "a");
  EXPECT_FALSE(used);
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
  const auto failure = [](int result) { return result == 0 ? GetLastError() : 0; };
  EXPECT_EQ(failure(MultiByteToWideChar(CP_UTF8, 0, "abc", -1, wide, 3)), DWORD{ERROR_INSUFFICIENT_BUFFER});
  EXPECT_EQ(failure(WideCharToMultiByte(CP_UTF8, 0, u"\u20AC", 1, bytes, 2, nullptr, nullptr)),
            DWORD{ERROR_INSUFFICIENT_BUFFER});
  EXPECT_EQ(failure(MultiByteToWideChar(4711, 0, "a", 1, wide, 4)), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(failure(MultiByteToWideChar(CP_UTF8, 0, "a", 0, wide, 4)), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(failure(MultiByteToWideChar(CP_UTF8, 0, nullptr, 1, wide, 4)), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(failure(WideCharToMultiByte(1252, 0, u"a", 1, nullptr, 4, nullptr, nullptr)),
            DWORD{ERROR_INVALID_PARAMETER});

  const std::u16string mixed = u"aZ\u00C4\u03A9\u0416\u00DF\xD83D";
  std::u16string mapped(mixed.size(), 0);
  EXPECT_EQ(LCMapStringW(LOCALE_SYSTEM_DEFAULT, LCMAP_LOWERCASE, mixed.data(), 7, mapped.data(), 7), 7);
  EXPECT_EQ(mapped, u"az\u00E4\u03C9\u0436\u00DF\xD83D");
  EXPECT_EQ(LCMapStringW(LOCALE_SYSTEM_DEFAULT, LCMAP_UPPERCASE, mapped.data(), 7, mapped.data(), 7), 7);
  EXPECT_EQ(mapped, u"AZ\u00C4\u03A9\u0416\u00DF\xD83D");
}

TEST(Environment, NamesIgnoreCaseAndSizesCountTheTerminator) {
  char buffer[8] = "######";
  EXPECT_TRUE(SetEnvironmentVariableA("Portwise_Test", "value"));
  EXPECT_EQ(GetEnvironmentVariableA("PORTWISE_TEST", buffer, 5), 6u);
  EXPECT_EQ(GetEnvironmentVariableA("PORTWISE_TEST", nullptr, 0), 6u);
  EXPECT_EQ(buffer[0], '#');
  EXPECT_EQ(GetEnvironmentVariableA("portwise_test", buffer, 6), 5u);
  EXPECT_STREQ(buffer, "value");
  EXPECT_EQ(getenv("Portwise_Test"), nullptr);
  EXPECT_TRUE(SetEnvironmentVariableA("PORTWISE_test", ""));
  EXPECT_EQ(GetEnvironmentVariableA("Portwise_Test", buffer, 6), 0u);
  EXPECT_STREQ(buffer, "");
  EXPECT_TRUE(SetEnvironmentVariableA("PORTWISE_TEST", nullptr));
  SetLastError(0);
  EXPECT_EQ(ErrorOf(GetEnvironmentVariableA("Portwise_Test", buffer, 6)), ERROR_ENVVAR_NOT_FOUND);
  EXPECT_FALSE(SetEnvironmentVariableA("a=b", "c"));
  EXPECT_GT(GetEnvironmentVariableA("Path", nullptr, 0), 1u) << "the process's variables are the seed";

  setenv("PORTWISE_COMPUTER_NAME", "print-server-of-the-hall.example.com", 1);
  WCHAR name[MAX_COMPUTERNAME_LENGTH + 1];
  DWORD size = 15;
  EXPECT_EQ(ErrorOf(GetComputerNameW(name, &size)), ERROR_BUFFER_OVERFLOW);
  EXPECT_EQ(size, 16u);
  EXPECT_TRUE(GetComputerNameW(name, &size));
  EXPECT_EQ(ToUtf8(name), "PRINT-SERVER-OF");
  EXPECT_EQ(size, 15u);
  unsetenv("PORTWISE_COMPUTER_NAME");
}

TEST(Messages, HaveTextsOrSayThatTheyHaveNone) {
  char* text = nullptr;
  const DWORD flags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
  const DWORD length = FormatMessageA(flags | FORMAT_MESSAGE_ALLOCATE_BUFFER, nullptr, ERROR_OUT_OF_PAPER, 0,
                                      reinterpret_cast<char*>(&text), 0, nullptr);
  ASSERT_GT(length, 2u);
  EXPECT_EQ(text, ErrorText(ERROR_OUT_OF_PAPER) + "\r\n");
  LocalFree(text);
  char buffer[256];
  EXPECT_EQ(ErrorOf(FormatMessageA(flags, nullptr, ERROR_OUT_OF_PAPER, 0, buffer, length, nullptr)),
            ERROR_INSUFFICIENT_BUFFER);
  EXPECT_EQ(FormatMessageA(flags, nullptr, ERROR_OUT_OF_PAPER, 0, buffer, length + 1, nullptr), length);
  EXPECT_EQ(ErrorOf(FormatMessageA(flags, nullptr, 9999, 0, buffer, 256, nullptr)), ERROR_MR_MID_NOT_FOUND);
  EXPECT_EQ(ErrorText(9999), "error 9999");
}

}  // namespace
}  // namespace portwise::platform
