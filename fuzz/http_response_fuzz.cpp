#include "fuzz/check.h"
#include "fuzz/http_pieces.h"
#include "network/http/http_response.h"

using namespace portwise;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Memory of exactly this size, so that a read past the end shows.
  const std::string input(fuzz::Bytes(data, size));
  HTTPResponse response;
  const bool whole = response.Parse(input.data(), input.size(), true);
  fuzz::CheckPieces(input, kResponseLimits, whole);
  if (!whole) return 0;

  // What was read, sent on by a server, arrives as the same. A body that is shorter than it was announced to be cannot
  // be, and one without bytes announces nothing.
  std::string bytes;
  response.Serialize(&bytes);
  HTTPResponse received;
  const bool again = received.Parse(bytes.data(), bytes.size(), true);
  if (!again) {
    PORTWISE_CHECK(bytes.size() - response.Body().size() > kResponseLimits.head);
    return 0;
  }
  PORTWISE_CHECK(received.StatusCode() == response.StatusCode() && received.StatusText() == response.StatusText());
  PORTWISE_CHECK(received.Body() == response.Body());
  PORTWISE_CHECK(received.GetContentLength() == response.Body().size());
  for (const char* name : {"Content-Type", "Connection", "Cache-Control"}) {
    PORTWISE_CHECK(received.GetHeader(name) == response.GetHeader(name));
  }
  return 0;
}
