#pragma once

#include <string>
#include <string_view>

#include "core/ostring.h"
#include "network/http/http_headers.h"
#include "network/http/http_parameters.h"

namespace portwise {

/// The content type of a body that holds parameters.
inline constexpr char kFormContentType[] = "application/x-www-form-urlencoded";

/// A request of HTTP/1.1. A plain value; one thread at a time.
class HTTPRequest : public HTTPHeaders {
 public:
  HTTPRequest() { Reset(); }

  /// Takes a request apart, in place of what this one was; true when all of it is there (see HTTPMessageParser) and it
  /// is within the limits of requests. Without `decode` only the request line, the header lines and the body are taken;
  /// with it the request line is taken apart too, and so is a body that holds parameters.
  bool Parse(const void* bytes, size_t length, bool decode);

  /// The same with `decode`, but without a copy of the body, which may be large: its parameters are looked for in
  /// `bytes`, which must stay there as long as somebody asks for one.
  bool ParseInPlace(std::string_view bytes);

  /// Appends the request as it travels. A POST carries its parameters in the body, unless its content type is another
  /// one, and every other method in the target.
  void Serialize(std::string* out) const;

  /// The first line, as it was received.
  const OString& RequestLine() const { return requestLine_; }
  const OString& Method() const { return method_; }
  void SetMethod(const OString& method) { method_ = method; }
  const OString& Version() const { return version_; }
  /// The path, decoded and without the query. It is sent as it is: whoever sets it leaves out what would end the
  /// target.
  const OString& Uri() const { return uri_; }
  void SetUri(const OString& uri) { uri_ = uri; }

  /// The first parameter of that name, the case of ASCII letters aside, without white space at both ends; empty without
  /// one. As text in the ANSI code page, or as the bytes that were sent.
  OString GetParameter(std::string_view name) const { return OString(std::string_view(GetParameterBytes(name))); }
  std::string GetParameterBytes(std::string_view name) const;
  /// Text is sent in its own code page.
  void AddParameter(std::string_view name, const OString& value) { parameters_.Add(name, value.NarrowView()); }
  void AddParameter(std::string_view name, std::string_view value) { parameters_.Add(name, value); }

  const std::string& Body() const { return body_; }
  void SetBody(std::string bytes) { body_ = std::move(bytes); }

 private:
  void Reset();
  bool ParseMessage(std::string_view bytes, bool decode, std::string_view* body);
  bool HoldsForm() const { return GetHeader("Content-Type") == kFormContentType; }
  void ParseRequestLine(std::string_view line);

  OString requestLine_;
  OString method_;
  OString version_;
  OString uri_;
  HTTPParameters parameters_;
  std::string_view formInPlace_;
  std::string body_;
};

}  // namespace portwise
