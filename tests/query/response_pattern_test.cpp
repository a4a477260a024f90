#include "query/response_pattern.h"

#include <gtest/gtest.h>

namespace portwise {
namespace {

using std::string_literals::operator""s;

TEST(ResponsePattern, FindsWhatPerlFinds) {
  const struct {
    std::string pattern, response;
    bool found;
  } rows[] = {
      {"^OK$", "xxOKxx", false},
      {"OK", "AB\0OK"s, false},
      {"OK", "xOK\0AB"s, true},
      {"A.B", "A\nB", false},
      {"\\x02\\d+(?=\\x03)", "\x02"s + "42\x03", true},
      {"\xC8[\x80-\xFF]", "\xC8\xFF", true},
      {"(?:x|y)*END", std::string(100000, 'x') + "END", true},
  };
  for (const auto& row : rows) {
    ResponsePattern pattern(row.pattern);
    EXPECT_EQ(pattern.Matches(row.response), row.found) << row.pattern;
    EXPECT_EQ(pattern.Problem(), "") << row.pattern;
  }
}

TEST(ResponsePattern, NeverMatchesWhatIsWrongOrTakesTooLong) {
  const std::string as(30000, 'a'), digits(200000, '1');
  const std::pair<std::string, std::string> rows[] = {
      {"(A", ""},
      {"(*UTF)A", "A"},
      {std::string(70000, 'A'), "A"},
      {"(a+)+$", std::string(60, 'a') + "b"},
      {"(?:a|b)*?[cd]", std::string(20000000, 'a')},
      // At each place where these may begin the search is short; there are many.
      {"a.*[bd].*[ce]", as},
      {"\\d+[YZ]", digits},
  };
  for (const auto& [text, response] : rows) {
    ResponsePattern pattern(text);
    EXPECT_TRUE(!pattern.Matches(response) && pattern.Problem() != "") << text.substr(0, 20);
    EXPECT_FALSE(pattern.Matches("abc aa 1Z")) << text.substr(0, 20);
  }
}

TEST(ResponsePattern, DecodesTheEntitiesOfAnAttribute) {
  EXPECT_EQ(DecodePatternEntities("&lt;ACK&gt;&amp;&quot;"), "<ACK>&\"");
  EXPECT_EQ(DecodePatternEntities("&#2;&#0065;&#255;&#0;"), "\x02"s + "A\xFF\0"s);
  EXPECT_EQ(DecodePatternEntities("&#256;&#9999999;&#;&#x41;&#-1;&;&LT;&apos;"), "????????");
  EXPECT_EQ(DecodePatternEntities("a&b|c&&123456789;&1234567890;&&lt"), "a&b|c&?&1234567890;&&lt");
  EXPECT_EQ(DecodePatternEntities("&abcdefghi&lt;"), "&abcdefghi<");
}

}  // namespace
}  // namespace portwise
