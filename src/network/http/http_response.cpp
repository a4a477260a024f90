#include "network/http/http_response.h"

#include <algorithm>
#include <climits>
#include <cstdio>

#include "core/computer_name.h"
#include "core/decimal.h"
#include "network/http/http_message_parser.h"
#include "network/http/reason_phrases.h"

namespace portwise {
namespace {

/// The current time as RFC 1123 writes it, which is in English everywhere.
OString HttpDate() {
  constexpr const char* kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  SYSTEMTIME now;
  GetSystemTime(&now);
  char text[64];
  std::snprintf(text, sizeof text, "%s, %02u %s %u %02u:%02u:%02u GMT", kDays[now.wDayOfWeek % 7], unsigned{now.wDay},
                kMonths[(now.wMonth + 11) % 12], unsigned{now.wYear}, unsigned{now.wHour}, unsigned{now.wMinute},
                unsigned{now.wSecond});
  return OString(text);
}

}  // namespace

HTTPResponse::HTTPResponse() {
  SetStatus(200);
  SetContentType("application/octet-stream");
  SetHeader("Cache-Control", "no-cache");
}

void HTTPResponse::SetStatus(DWORD code) {
  statusCode_ = code;
  statusText_ = OString::FromUnsigned(code) + " " + OString(ReasonPhrase(code));
}

void HTTPResponse::SetTextBody(const OString& text) {
  SetContentType("text/plain");
  body_ = text.NarrowView();
}

void HTTPResponse::SetBinaryBody(std::string bytes) {
  SetContentType("application/octet-stream");
  body_ = std::move(bytes);
}

bool HTTPResponse::Parse(const void* bytes, size_t length, bool parseStatusLine) {
  *this = HTTPResponse();
  HTTPMessageParser message(kResponseLimits);
  if (message.Look({static_cast<const char*>(bytes), length}) != HTTPMessageState::Complete) return false;
  statusLine_ = HeadText(message.FirstLine());
  ParseHeaders(message.HeaderLines());
  body_ = message.Body();
  if (parseStatusLine) ParseStatusLine(message.FirstLine());
  return true;
}

void HTTPResponse::ParseStatusLine(std::string_view line) {
  const size_t blank = std::min(line.find_first_of(" \t"), line.size());
  const std::string_view text = TrimHttp(line.substr(blank));
  version_ = HeadText(line.substr(0, blank));
  statusText_ = HeadText(text);
  const bool number = !text.empty() && text.front() >= '0' && text.front() <= '9';
  statusCode_ = number ? static_cast<DWORD>(std::min<LONGLONG>(ReadDecimal(text), INT_MAX)) : 0;
}

void HTTPResponse::Serialize(std::string* out) const {
  SerializeHead(body_.size(), out);
  out->append(body_);
}

void HTTPResponse::SerializeHead(size_t bodyLength, std::string* out) const {
  HTTPHeaders headers = *this;
  headers.SetHeader("Date", HttpDate());
  headers.SetHeader("Server", ComputerName());
  headers.SetHeader("Accept-Ranges", "None");
  if (bodyLength > 0) headers.SetHeader("Content-Length", OString::FromUnsigned(bodyLength));
  out->append(version_.NarrowView()).append(" ").append(statusText_.NarrowView()).append("\r\n");
  headers.AppendHeaders(out);
}

}  // namespace portwise
