#include "core/zlib_block.h"

#include "fuzz/check.h"

using namespace portwise;

namespace {

constexpr std::size_t kCapacity = std::size_t{1} << 20;

void Decode(std::string_view block) {
  std::string bytes = "kept";
  if (!DecodeZlibBlock(block, kCapacity, &bytes)) {
    PORTWISE_CHECK(bytes == "kept");
    return;
  }
  PORTWISE_CHECK(bytes.size() <= kCapacity && bytes.size() <= 1032 * block.size());
  std::string again;
  PORTWISE_CHECK(!DecodeZlibBlock(block, bytes.size() - 1, &again) || bytes.empty());
  std::string encoded;
  PORTWISE_CHECK(EncodeZlibBlock(bytes, &encoded) && DecodeZlibBlock(encoded, bytes.size(), &again) && again == bytes);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(fuzz::Bytes(data, size));
  Decode(input);
  // With a header that is right about the compressed size, so that the stream itself is reached.
  if (input.size() >= 4) {
    std::string block = "ZLIB" + input.substr(0, 4);
    for (int shift = 0; shift < 32; shift += 8) block.push_back(static_cast<char>((input.size() - 4) >> shift & 0xFF));
    Decode(block + input.substr(4));
  }
  std::string block;
  std::string bytes;
  PORTWISE_CHECK(EncodeZlibBlock(input, &block) && DecodeZlibBlock(block, size, &bytes) && bytes == input);
  return 0;
}
