#include "core/hex.h"
#include "fuzz/check.h"

using namespace portwise;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(fuzz::Bytes(data, size));
  std::string bytes = "kept";
  PORTWISE_CHECK(DecodeHex(EncodeHex(input), &bytes) && bytes == input);
  PORTWISE_CHECK(DecodeHex(EncodeHex(input, HexLetters::Lower), &bytes) && bytes == input);
  if (DecodeHex(input, &bytes)) {
    std::string again;
    PORTWISE_CHECK(2 * bytes.size() == size && DecodeHex(EncodeHex(bytes), &again) && again == bytes);
  }
  DWORD number = 0;
  DWORD again = 0;
  if (DecodeHexNumber(std::string_view(input), &number)) {
    PORTWISE_CHECK(DecodeHexNumber(std::string_view(EncodeHexNumber(number)), &again) && again == number);
  }
  return 0;
}
