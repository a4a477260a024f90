#include "query/response_pattern.h"

#include "fuzz/check.h"

using namespace portwise;

/// The first line is the attribute with the pattern, the rest an answer.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input = fuzz::Bytes(data, size);
  const size_t line = std::min(input.find('\n'), size);
  // Memory of exactly this size, so that a read past the end shows.
  const std::string attribute(input.substr(0, line)), answer(input.substr(std::min(line + 1, size)));
  const std::string decoded = DecodePatternEntities(attribute);
  PORTWISE_CHECK(decoded.size() <= attribute.size());
  if (attribute.find('&') == attribute.npos) PORTWISE_CHECK(decoded == attribute);
  ResponsePattern pattern(decoded);
  const bool matched = pattern.Matches(answer);
  PORTWISE_CHECK(!matched || pattern.Problem().empty());
  PORTWISE_CHECK(pattern.Matches(answer) == matched);
  PORTWISE_CHECK(pattern.Matches(answer + std::string("\0tail", 5)) == matched);
  return 0;
}
