#include "core/base64.h"
#include "fuzz/check.h"

using namespace portwise;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(fuzz::Bytes(data, size));
  const std::string encoded = EncodeBase64(input);
  PORTWISE_CHECK(encoded.size() == (size + 2) / 3 * 4);
  PORTWISE_CHECK(DecodeBase64(encoded) == input);
  const std::string decoded = DecodeBase64(input);
  PORTWISE_CHECK(decoded.size() <= size / 4 * 3 + 2);
  PORTWISE_CHECK(DecodeBase64(EncodeBase64(decoded)) == decoded);
  return 0;
}
