#pragma once

#include <windows.h>

#include <string>
#include <string_view>

#include "core/ostring.h"
#include "network/http/http_headers.h"

namespace portwise {

/// In a response without a reply: the request has run nevertheless, at least in part, so that it should not be sent
/// again.
inline constexpr char kHasRunHeader[] = "X-Request-Has-Run";

/// A response of HTTP/1.1. A plain value; one thread at a time.
class HTTPResponse : public HTTPHeaders {
 public:
  /// "200 OK", without a body.
  HTTPResponse();

  /// The code with its reason phrase.
  void SetStatus(DWORD code);
  DWORD StatusCode() const { return statusCode_; }
  /// Code and phrase.
  const OString& StatusText() const { return statusText_; }
  const OString& Version() const { return version_; }
  /// The first line, as it was received.
  const OString& StatusLine() const { return statusLine_; }

  void SetContentType(const OString& type) { SetHeader("Content-Type", type); }
  /// Plain text: the bytes of the text's 8-bit form.
  void SetTextBody(const OString& text);
  void SetBinaryBody(std::string bytes);
  const std::string& Body() const { return body_; }

  /// Takes a response apart, in place of what this one was; true when all of it is there (see HTTPMessageParser) and it
  /// is within the limits of responses. With `parseStatusLine` the version and the status are taken from the status
  /// line; a line without a status gives the code 0.
  bool Parse(const void* bytes, size_t length, bool parseStatusLine);

  /// Appends the response as it travels, with the date, the name of this computer and the length of the body among its
  /// headers.
  void Serialize(std::string* out) const;
  /// Appends the head alone, for a body of that many bytes which lies elsewhere.
  void SerializeHead(size_t bodyLength, std::string* out) const;

 private:
  void ParseStatusLine(std::string_view line);

  OString statusLine_;
  OString version_ = "HTTP/1.1";
  DWORD statusCode_ = 200;
  OString statusText_;
  std::string body_;
};

}  // namespace portwise
