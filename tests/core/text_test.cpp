#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <thread>

#include "core/ostring.h"
#include "core/ostring_array.h"
#include "tests/support/wine.h"

namespace portwise {
namespace {

TEST(OString, KeepsItsTextThroughEveryCodePage) {
  const std::string ansi = ToNarrow(WideString({0xE9}), kCodePageAnsi);
  ASSERT_FALSE(ansi.empty());
  struct {
    std::string_view bytes;
    UINT codePage;
    WideString wide;
    const char* back;
  } const cases[] = {
      {"\xC3\xA9\xE2\x82\xAC", kCodePageUtf8, TEXT("\u00E9\u20AC"), "\xC3\xA9\xE2\x82\xAC"},
      // One from outside the basic plane goes in as four bytes and out as one sequence per surrogate.
      {"\xF0\x9F\x98\x80", kCodePageUtf8, WideString({0xD83D, 0xDE00}), "\xED\xA0\xBD\xED\xB8\x80"},
      // The lead bits of continuation bytes do not count, and a stray one leads a sequence of three.
      {"\xC3\x29", kCodePageUtf8, WideString({0xE9}), "\xC3\xA9"},
      {"\x81\x82\x83z", kCodePageUtf8, WideString({0x1083, 'z'}), "\xE1\x82\x83z"},
      {"a\xE2\x82", kCodePageUtf8, TEXT("a"), "a"},
      {std::string_view("a\xE2\0bc", 5), kCodePageUtf8, TEXT("a"), "a"},
      {"a\xF0\x9F\x98", kCodePageUtf8, TEXT("a"), "a"},
      {"\xE9\xFF", kCodePageOneByte, WideString({0xE9, 0xFF}), "\xE9\xFF"},
      {"\x93\xFA\x96\x7B", 932, TEXT("\u65E5\u672C"), "\x93\xFA\x96\x7B"},
      // More bytes than two for each character.
      {"\x81\x30\x81\x30", 54936, TEXT("\u0080"), "\x81\x30\x81\x30"},
      {"\x80", 1252, WideString({0x20AC}), "\x80"},
      {ansi, kCodePageAnsi, WideString({0xE9}), ansi.c_str()},
  };
  for (const auto& each : cases) {
    if (each.codePage == 54936 && IsWine()) continue;  // which does not have it
    const OString text(each.bytes, each.codePage);
    EXPECT_EQ(text.View(), each.wide) << each.bytes;
    EXPECT_EQ(text.NarrowView(), each.back) << each.bytes;
  }
  EXPECT_EQ(OString(TEXT("\u0123")).InCodePage(kCodePageOneByte), "\x23");
}

TEST(OString, CopiesShareTextUntilOneIsWritten) {
  OString first("abc");
  OString second = first;
  EXPECT_EQ(first.Wide(), second.Wide());
  second += "def";
  EXPECT_EQ(first, "abc");
  EXPECT_EQ(std::string(second.Narrow()), "abcdef");
  second += second;
  EXPECT_EQ(second, "abcdefabcdef");
  EXPECT_EQ(std::string(second.Narrow()), "abcdefabcdef") << "the 8-bit form follows the text";
  second.SetCodePage(kCodePageUtf8);
  EXPECT_EQ(first.CodePage(), kCodePageAnsi);
  EXPECT_EQ(second.Mid(3, 3).CodePage(), kCodePageUtf8);
}

TEST(OString, OneTextIsReadAndCopiedByManyThreads) {
  const OString shared("\xC3\xA9 shared", kCodePageUtf8);
  std::vector<std::thread> threads;
  std::atomic<int> wrong = 0;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 2000; ++round) {
        OString copy = shared;
        if (copy.NarrowView() != "\xC3\xA9 shared") ++wrong;
        copy += WCHAR('!');
        if (copy.Length() != shared.Length() + 1) ++wrong;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
  // The last holder writes in place, after another has read the 8-bit form and let go.
  for (int round = 0; round < 500; ++round) {
    OString mine = OString("text ") + OString::FromInt(round);
    std::thread other([copy = mine] { EXPECT_EQ(copy.NarrowView().substr(0, 5), "text "); });
    Sleep(0);
    mine += WCHAR('!');
    EXPECT_EQ(mine.NarrowView().back(), '!');
    other.join();
  }
}

TEST(OString, FindsCutsAndReplaces) {
  const OString path("a/b\\c/d");
  EXPECT_EQ(path.Find('/'), 1);
  EXPECT_EQ(path.Find("/", 2), 5);
  EXPECT_EQ(path.Find("x"), -1);
  EXPECT_EQ(path.ReverseFindAny("\\:"), 3);
  EXPECT_EQ(path.Left(-1) + path.Mid(5, 99) + path.Mid(99) + path.Right(3), "/dc/d");
  EXPECT_EQ(path[-1] + path[99], 0);
  OString text("aaa%%a");
  EXPECT_EQ(text.Replace("%%", "%25"), 1);
  EXPECT_EQ(text.Replace("a", "aa"), 4) << "what was put in is not replaced again";
  EXPECT_EQ(text, "aaaaaa%25aa");
  EXPECT_EQ(text.Replace("", "x"), 0);
  EXPECT_EQ(OString(" \tx y\r\n").Trim(" \t\r\n"), "x y");
  EXPECT_TRUE(OString(TEXT("\u00C4bC")).EqualsNoCase(TEXT("\u00C4Bc")));
  EXPECT_FALSE(OString(TEXT("\u00C4")).EqualsNoCase(TEXT("\u00E4"))) << "only ASCII letters lose their case";
  EXPECT_EQ(OString(TEXT("\u00C4B")).ToLower(), TEXT("\u00E4b"));
  EXPECT_LT(OString("B").Compare("a"), 0);
  EXPECT_GT(OString("B").CompareNoCase("a"), 0);
  EXPECT_EQ(OString::FromInt(-42), "-42");
}

TEST(OStringArray, LaysListsIntoBuffersAndBack) {
  OStringArray list;
  for (const char* text : {"one", "", "two"}) list.Append(text);
  EXPECT_EQ(list.ToNarrowBuffer(ListLayout::NulTerminated, kCodePageUtf8), std::string("one\0two\0\0", 9));
  EXPECT_EQ(list.ToNarrowBuffer(ListLayout::Lines, kCodePageUtf8), "one\r\n\r\ntwo\r\n");
  const auto read = [](std::string_view buffer, ListLayout layout) {
    OStringArray result;
    result.FromNarrowBuffer(buffer, layout, kCodePageUtf8);
    std::string joined;
    for (const OString& text : result) joined += std::string(text.NarrowView()) + "|";
    return joined;
  };
  EXPECT_EQ(read(std::string_view("a\0b\0\0c\0", 7), ListLayout::NulTerminated), "a|b|");
  EXPECT_EQ(read(std::string_view("a\0b", 3), ListLayout::NulTerminated), "a|b|");
  EXPECT_EQ(read("a\r\n\r\nlost", ListLayout::Lines), "a||");
  EXPECT_EQ(read("\na\n", ListLayout::Lines), "||") << "two characters go, whatever they are";
  list.Insert(0, TEXT("\u0100"));
  EXPECT_EQ(list.ToNarrowBuffer(ListLayout::NulTerminated, kCodePageOneByte), std::string("one\0two\0\0", 9))
      << "a unit that becomes a NUL does not end the list";
  OStringArray wide;
  wide.FromWideBuffer(WideView(TEXT("b\0C\0a\0\0"), 7), ListLayout::NulTerminated);
  wide.Sort();
  ASSERT_EQ(wide.Size(), 3);
  EXPECT_EQ(wide[0], "C");
  EXPECT_EQ(wide[2], "b");
}

}  // namespace
}  // namespace portwise
