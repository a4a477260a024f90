#include "core/code_page.h"
#include "fuzz/check.h"

using namespace portwise;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Memory of exactly this size, so that a read past the end shows.
  const std::string copy(fuzz::Bytes(data, size));
  const WideString text = ToWide(copy, kCodePageUtf8);
  PORTWISE_CHECK(text.size() <= size);
  PORTWISE_CHECK(ToWide(std::string_view(copy).substr(0, copy.find('\0')), kCodePageUtf8) == text);
  // Bytes may be malformed, but what was understood of them is kept from then on.
  const std::string encoded = ToNarrow(text, kCodePageUtf8);
  PORTWISE_CHECK(encoded.size() <= 3 * text.size());
  PORTWISE_CHECK(ToWide(encoded, kCodePageUtf8) == text.substr(0, text.find(WCHAR(0))));
  PORTWISE_CHECK(ToNarrow(ToWide(copy, kCodePageOneByte), kCodePageOneByte) == copy);
  return 0;
}
