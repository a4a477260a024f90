#include "fuzz/check.h"
#include "fuzz/http_pieces.h"
#include "network/http/http_request.h"

using namespace portwise;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Memory of exactly this size, so that a read past the end shows.
  const std::string input(fuzz::Bytes(data, size));
  HTTPRequest request;
  const bool whole = request.Parse(input.data(), input.size(), true);
  fuzz::CheckPieces(input, kRequestLimits, whole);
  if (!whole) return 0;

  constexpr std::string_view kNames[] = {"printer", "share", "xpml"};
  HTTPRequest inPlace;
  PORTWISE_CHECK(inPlace.ParseInPlace(input) && inPlace.Uri() == request.Uri());
  for (const auto name : kNames) PORTWISE_CHECK(inPlace.GetParameterBytes(name) == request.GetParameterBytes(name));

  // What was read, sent on by a client, arrives as the same.
  for (const char* method : {"POST", "GET"}) {
    HTTPRequest sent;
    sent.SetMethod(method);
    sent.SetUri("/xpml");
    for (const auto name : kNames) sent.AddParameter(name, std::string_view(request.GetParameterBytes(name)));
    sent.SetHeader("X-Line", request.GetHeader("Connection"));
    std::string bytes;
    sent.Serialize(&bytes);
    HTTPRequest received;
    if (!received.Parse(bytes.data(), bytes.size(), true)) {
      PORTWISE_CHECK(bytes.size() > kRequestLimits.head);
      continue;
    }
    PORTWISE_CHECK(received.Uri() == "/xpml" && received.Method() == method);
    for (const auto name : kNames) PORTWISE_CHECK(received.GetParameterBytes(name) == request.GetParameterBytes(name));
    PORTWISE_CHECK(received.GetHeader("x-line") == sent.GetHeader("x-line"));
  }
  return 0;
}
