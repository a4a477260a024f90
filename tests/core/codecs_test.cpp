#include <gtest/gtest.h>

#include "core/base64.h"
#include "core/code_page.h"
#include "core/hex.h"
#include "core/zlib_block.h"

namespace portwise {
namespace {

using std::string_literals::operator""s;

TEST(Base64, DecodesAnythingWithoutLeavingTheInput) {
  const struct {
    std::string text, bytes;
    bool canonical;
  } rows[] = {
      {"", "", true},
      {"AQ==", "\1", true},
      {"AQI=", "\1\2", true},
      {"+vv8/f7/ABCDEFGH", "\xFA\xFB\xFC\xFD\xFE\xFF\0\x10\x83\x10\x51\x87"s, true},
      {"A", "", false},
      {"AQ", "\1", false},
      {"AQI", "\1\2", false},
      {"AQIDB", "\1\2\3", false},
      {"AQ==AQI=", "\1", false},    // the first padding is the end
      {"AQI=AQI=", "\1\2", false},  // in either place
      {"=QID=Q", "\1\2\3\1", false},
      {"AQ\r\n\x80\xFF", "\1\0\0\0"s, false},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(DecodeBase64(std::string(row.text)), row.bytes) << row.text;
    EXPECT_EQ(EncodeBase64(row.bytes) == row.text, row.canonical) << row.text;
  }
}

TEST(Hex, BytesAndNumbers) {
  EXPECT_EQ(EncodeHex("\0\x9A\xFF"s), "009AFF");
  EXPECT_EQ(EncodeHexNumber(WORD{0x1234}), "1234");
  EXPECT_EQ(EncodeHexNumber(DWORD{0xABC}, HexLetters::Lower), "00000abc");
  std::string bytes = "kept";
  for (const char* bad : {"0", "0g"}) EXPECT_FALSE(DecodeHex(bad, &bytes)) << bad;
  EXPECT_EQ(bytes, "kept");
  EXPECT_TRUE(DecodeHex("aB09", &bytes));
  EXPECT_EQ(bytes, "\xAB\x09");
  DWORD number = 7;
  for (const char* bad : {"", "123456789", "-1", "1 "}) EXPECT_FALSE(DecodeHexNumber(std::string_view(bad), &number));
  EXPECT_EQ(number, 7u);
  EXPECT_TRUE(DecodeHexNumber(WideView(TEXT("fFfFfFfE")), &number));
  EXPECT_EQ(number, 0xFFFFFFFEu);
}

TEST(ZlibBlock, BelievesOnlyWhatTheStreamProves) {
  std::string stream;  // another implementation's, for "label " five times
  ASSERT_TRUE(DecodeHex("78dacb494c4acd51c8c1410200a82a0aa1", &stream));
  const auto block = [](const std::string& data, DWORD size, DWORD compressed) {
    const DWORD numbers[] = {size, compressed};
    return "ZLIB" + std::string(reinterpret_cast<const char*>(numbers), sizeof numbers) + data;
  };
  std::string bytes;
  ASSERT_TRUE(DecodeZlibBlock(block(stream, 30, 17), 30, &bytes));
  EXPECT_EQ(bytes, "label label label label label ");
  const std::pair<std::string, size_t> bad[] = {
      {block(stream, 30, 17), 29},   // no room
      {block(stream, 30, 18), 100},  // one byte missing
      {block(stream, 30, 16), 100},  // one byte too many
      {block(stream, 29, 17), 100},  // gives more than it says
      {block(stream, 31, 17), 100},  // gives less than it says
      {block(stream, 0, 17), 100},
      {block(stream, 0xFFFFFFFF, 17), SIZE_MAX},   // no stream of 17 bytes gives 4 GiB
      {block(stream.substr(0, 16), 30, 16), 100},  // the check value is cut
      {block("", 0, 0), 100},
      {"ZLIB\0\0\0\0\0\0\0"s, 100},
      {"BLIZ" + block(stream, 30, 17).substr(4), 100},
  };
  for (const auto& [data, capacity] : bad) {
    bytes = "kept";
    EXPECT_FALSE(DecodeZlibBlock(std::string(data), capacity, &bytes));
    EXPECT_EQ(bytes, "kept");
  }

  std::string noise(100000, '\0');
  for (DWORD i = 0, state = 1; i < noise.size(); ++i) noise[i] = static_cast<char>((state = state * 69069 + 1) >> 24);
  for (const std::string& text : {std::string(), std::string(5000000, 'a'), noise}) {
    std::string encoded;
    ASSERT_TRUE(EncodeZlibBlock(text, &encoded));
    EXPECT_LE(encoded.size(), text.size() + (text.size() + 999) / 1000 + 24);
    EXPECT_TRUE(DecodeZlibBlock(encoded, text.size(), &bytes));
    EXPECT_TRUE(bytes == text) << text.size();
  }
}

}  // namespace
}  // namespace portwise
