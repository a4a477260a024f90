#include "network/http/http_request.h"

#include "network/http/http_message_parser.h"
#include "network/http/url_coding.h"

namespace portwise {
namespace {

constexpr char kPost[] = "POST";
constexpr std::string_view kBlanks = " \t";

}  // namespace

void HTTPRequest::Reset() {
  requestLine_ = OString();
  method_ = "GET";
  version_ = "HTTP/1.1";
  uri_ = "/";
  parameters_.Clear();
  formInPlace_ = std::string_view();
  body_.clear();
  ParseHeaders(std::string_view());
}

bool HTTPRequest::Parse(const void* bytes, size_t length, bool decode) {
  std::string_view body;
  if (!ParseMessage({static_cast<const char*>(bytes), length}, decode, &body)) return false;
  body_ = body;
  if (decode && !body_.empty() && HoldsForm()) parameters_.AddEncoded(body_);
  return true;
}

bool HTTPRequest::ParseInPlace(std::string_view bytes) {
  std::string_view body;
  if (!ParseMessage(bytes, true, &body)) return false;
  if (HoldsForm()) formInPlace_ = body;
  return true;
}

bool HTTPRequest::ParseMessage(std::string_view bytes, bool decode, std::string_view* body) {
  Reset();
  HTTPMessageParser message(kRequestLimits);
  if (message.Look(bytes) != HTTPMessageState::Complete) return false;
  requestLine_ = HeadText(message.FirstLine());
  ParseHeaders(message.HeaderLines());
  if (decode) ParseRequestLine(message.FirstLine());
  *body = message.Body();
  return true;
}

std::string HTTPRequest::GetParameterBytes(std::string_view name) const {
  if (formInPlace_.empty()) return parameters_.Get(name);
  if (auto value = parameters_.Find(name)) return *std::move(value);
  return HTTPParameters::Find(formInPlace_, name).value_or(std::string());
}

void HTTPRequest::ParseRequestLine(std::string_view line) {
  const size_t first = line.find_first_of(kBlanks);
  if (first == std::string_view::npos) return;
  const size_t last = line.find_last_of(kBlanks);
  method_ = HeadText(TrimHttp(line.substr(0, first)));
  version_ = HeadText(TrimHttp(line.substr(last + 1)));
  if (last == first) return;
  std::string_view target = TrimHttp(line.substr(first, last - first));
  if (const size_t query = target.find('?'); query != std::string_view::npos) {
    parameters_.AddEncoded(target.substr(query + 1));
    target = target.substr(0, query);
  }
  uri_ = HeadText(DecodeUrl(target));
}

void HTTPRequest::Serialize(std::string* out) const {
  const bool post = method_ == kPost;
  out->append(method_.NarrowView()).append(" ").append(uri_.NarrowView());
  if (const std::string query = post ? std::string() : parameters_.Encode(); !query.empty()) {
    out->append("?").append(query);
  }
  out->append(" ").append(version_.NarrowView()).append("\r\n");
  if (!post) return AppendHeaders(out);

  HTTPHeaders headers = *this;
  if (!headers.HasHeader("Content-Type")) headers.SetHeader("Content-Type", kFormContentType);
  const bool form = headers.GetHeader("Content-Type") == kFormContentType;
  const std::string parameters = form ? parameters_.Encode() : std::string();
  const std::string& body = form ? parameters : body_;
  if (!body.empty()) headers.SetHeader("Content-Length", OString::FromUnsigned(body.size()));
  headers.AppendHeaders(out);
  out->append(body);
}

}  // namespace portwise
