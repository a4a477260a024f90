#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

#include "network/http/http_message_parser.h"
#include "network/http/http_request.h"
#include "network/http/http_response.h"
#include "network/http/url_coding.h"
#include "tests/support/print_ostring.h"

namespace portwise {
namespace {

using std::string_literals::operator""s;
using State = HTTPMessageState;

TEST(UrlCoding, DecodesAnythingAndEncodesEveryByte) {
  const std::pair<std::string, std::string> decoded[] = {
      {"a+b%20c%2B", "a b c+"}, {"%3c%3C", "<<"},           {"100%", "100%"},      {"%4", "%4"},
      {"%%41", "%A"},           {"%zz%4g%g4", "%zz%4g%g4"}, {"%00%fF", "\0\xFF"s}, {"", ""},
  };
  for (const auto& [text, bytes] : decoded) EXPECT_EQ(DecodeUrl(text), bytes) << text;
  EXPECT_EQ(EncodeUrl("aZ09-_.!~*'() <\0\xFF+%&="s), "aZ09-_.!~*'()+%3C%00%FF%2B%25%26%3D");
}

/// The state after a message has arrived in pieces of one byte, and how many had to arrive.
std::pair<State, size_t> Feed(const std::string& message, HTTPMessageLimits limits = kRequestLimits) {
  HTTPMessageParser parser(limits);
  for (size_t length = 0; length <= message.size(); ++length) {
    const std::string arrived = message.substr(0, length);  // at another place each time
    const State state = parser.Look(arrived);
    if (state != State::Incomplete) return {state, length};
  }
  return {State::Incomplete, message.size()};
}

TEST(HTTPMessageParser, FindsTheEndOfAMessageThatArrivesByteByByte) {
  const struct {
    std::string message;
    State state;
    std::string rest;  // what is not needed any more
    std::string body;
  } rows[] = {
      {"GET / HTTP/1.1\r\n\r\n", State::Complete, "", ""},
      {"\n\n", State::Complete, "", ""},
      {"GET /\n\r\nx", State::Complete, "x", "x"},
      {"GET /\r\n\nx", State::Complete, "x", "x"},
      {"GET /\r\nA: b\n\n\r\n", State::Complete, "\r\n", "\r\n"},
      {"GET /\r\n\r", State::Incomplete, "", ""},
      {"GET /\r\n \r\n", State::Incomplete, "", ""},
      {"GET /\r\r\r\n", State::Incomplete, "", ""},
      {"POST /\r\ncontent-LENGTH:3\r\n\r\nabcd", State::Complete, "d", "abcd"},
      {"POST /\r\nContent-Length: 3\nContent-Length: 9\n\nabc", State::Complete, "", "abc"},
      {"POST /\nContent-Length : 3\n\nabc", State::Complete, "abc", "abc"},
      {"POST /\nContent-Length: -1\n\nabc", State::Complete, "abc", "abc"},
      {"POST /\nContent-Length: many\n\nabc", State::Complete, "abc", "abc"},
      {"POST /\nContent-Length: 67108864\n\n", State::TooLarge, "", ""},
      {"POST /\nContent-Length: 18446744073709551615\n\nabc", State::TooLarge, "abc", ""},
      {"POST /\nContent-Length: 99999999999999999999999999999999\n\nabc", State::TooLarge, "abc", ""},
      {"GET /" + std::string((64 << 10) - 9, 'a') + "\r\n\r\n", State::Complete, "", ""},
      {"GET /" + std::string((64 << 10) - 8, 'a') + "\r\n\r\n", State::TooLarge, "", ""},
  };
  for (const auto& row : rows) {
    const auto [state, length] = Feed(row.message);
    EXPECT_EQ(state, row.state) << row.message.substr(0, 80);
    EXPECT_EQ(length, row.message.size() - row.rest.size()) << row.message.substr(0, 80);
    HTTPRequest request;
    EXPECT_EQ(request.Parse(row.message.data(), row.message.size(), false), row.state == State::Complete);
    EXPECT_EQ(request.Body(), row.body) << row.message.substr(0, 80);
  }
}

TEST(HTTPMessageParser, LooksAtNoByteOfALargeBodyMoreThanOnce) {
  // Were the head or the body gone through again for every byte, this would take minutes.
  const std::string head = "POST /\r\n" + std::string(60000, 'x') + "\r\nContent-Length: 6000000\r\n\r\n";
  const std::string message = head + std::string(6000000, '\n');
  HTTPMessageParser parser(kRequestLimits);
  size_t length = 0;
  while (parser.Look(std::string_view(message).substr(0, length)) == State::Incomplete) ++length;
  EXPECT_EQ(length, message.size());
}

struct ParsedRequest {
  std::string line, method, uri, version, parameter;
};

TEST(HTTPRequest, TakesRequestLinesApart) {
  const ParsedRequest rows[] = {
      {"GET /tickcount HTTP/1.1", "GET", "/tickcount", "HTTP/1.1", ""},
      {"POST\t /a%2Fb+c?x=1?&y \t HTTP/1.0", "POST", "/a/b c", "HTTP/1.0", "1?"},
      {"GET /x?=&x&& X = +1+ &x=2 HTTP/1.1", "GET", "/x", "HTTP/1.1", "2"},  // a blank is part of a name
      {"GET /x?%58=%201%20&x=2&x=3 HTTP/1.1", "GET", "/x", "HTTP/1.1", "1"},
      {"GET /x", "GET", "/", "/x", ""},  // the words after the only blank are the version
      {"GET /x ", "GET", "/x", "", ""},
      {"GET", "GET", "/", "HTTP/1.1", ""},
      {"", "GET", "/", "HTTP/1.1", ""},
      {" ", "", "/", "", ""},
      {"GET /a\0b?x=\0%00c\0 HTTP/1.1"s, "GET", "/a\0b"s, "HTTP/1.1", "\0\0c\0"s},
  };
  for (const ParsedRequest& row : rows) {
    const std::string message = row.line + "\r\n\r\n";
    HTTPRequest request;
    ASSERT_TRUE(request.Parse(message.data(), message.size(), true));
    EXPECT_EQ(request.RequestLine().NarrowView(), row.line);
    EXPECT_EQ(request.Method(), OString(row.method)) << row.line;
    EXPECT_EQ(request.Uri(), OString(row.uri)) << row.line;
    EXPECT_EQ(request.Version(), OString(row.version)) << row.line;
    EXPECT_EQ(request.GetParameterBytes("x"), row.parameter) << row.line;
  }
}

TEST(HTTPRequest, FormsFollowTheQueryAndOtherBodiesAreNoParameters) {
  HTTPRequest request;
  const auto parse = [&request](const std::string& type) {
    const std::string message =
        "POST /xpml?printer=A HTTP/1.1\nContent-Type: " + type + "\nContent-Length: 26\n\nPrinter=B& xpml=%3Ca%FF/%3E ";
    return request.Parse(message.data(), message.size(), true);
  };
  ASSERT_TRUE(parse(kFormContentType));
  EXPECT_EQ(request.GetParameter("printer"), "A");
  EXPECT_EQ(request.GetParameterBytes("XPML"), "<a\xFF/>");
  ASSERT_TRUE(parse("Application/x-www-form-urlencoded"));
  EXPECT_EQ(request.GetParameter("printer"), "A");
  EXPECT_TRUE(request.GetParameter("xpml").IsEmpty());
}

TEST(HTTPRequest, IsWrittenAsItIsRead) {
  HTTPRequest request;
  request.SetUri("/xpml");
  request.AddParameter("printer", OString("Label Printer"));
  request.AddParameter("xpml", std::string_view("<a b='&='/>\0\xFF", 13));
  const std::string form = "printer=Label+Printer&xpml=%3Ca+b%3D'%26%3D'%2F%3E%00%FF";
  std::string got;
  request.Serialize(&got);
  EXPECT_EQ(got, "GET /xpml?" + form + " HTTP/1.1\r\n\r\n");
  request.SetMethod("POST");
  std::string posted;
  request.Serialize(&posted);
  EXPECT_EQ(posted, "POST /xpml HTTP/1.1\r\nContent-Type: application/x-www-form-urlencoded\r\nContent-Length: " +
                        std::to_string(form.size()) + "\r\n\r\n" + form);
  request.SetHeader("content-type", "text/xml\r\nInjected: yes");
  request.SetBody("<a/>");
  std::string body;
  request.Serialize(&body);
  EXPECT_EQ(body, "POST /xpml HTTP/1.1\r\ncontent-type: text/xml  Injected: yes\r\nContent-Length: 4\r\n\r\n<a/>");
}

TEST(HTTPResponse, HeadersStandInTheirOrder) {
  HTTPResponse response;
  response.SetStatus(416);
  response.SetHeader("Connection", "");
  response.SetTextBody(OString("reply"));
  std::string bytes;
  response.Serialize(&bytes);
  EXPECT_TRUE(std::regex_match(
      bytes, std::regex("HTTP/1.1 416 Requested range not satisfiable\r\nContent-Type: text/plain\r\nCache-Control: "
                        "no-cache\r\nConnection: \r\nDate: [SMTWF][a-z][a-z], [0-3][0-9] [JFMASOND][a-z][a-z] "
                        "[0-9]+ [0-2][0-9]:[0-5][0-9]:[0-6][0-9] GMT\r\nServer: [^\r]+\r\nAccept-Ranges: "
                        "None\r\nContent-Length: 5\r\n\r\nreply")))
      << bytes;
  response.SetStatus(299);
  EXPECT_EQ(response.StatusText(), "299 OK");
}

TEST(HTTPResponse, BelievesNoStatusThatIsNotThere) {
  const struct {
    std::string line;
    DWORD code;
    std::string version;
  } rows[] = {
      {"HTTP/1.1 200 OK", 200, "HTTP/1.1"},
      {"HTTP/1.0\t404", 404, "HTTP/1.0"},
      {"HTTP/1.1  200", 200, "HTTP/1.1"},
      {"HTTP/1.1", 0, "HTTP/1.1"},
      {"HTTP/1.1 OK 200", 0, "HTTP/1.1"},
      {"HTTP/1.1 -200", 0, "HTTP/1.1"},
      {"", 0, ""},
      {"x 99999999999", 0x7FFFFFFF, "x"},
  };
  for (const auto& row : rows) {
    const std::string message = row.line + "\n\n";
    HTTPResponse response;
    ASSERT_TRUE(response.Parse(message.data(), message.size(), true));
    EXPECT_EQ(response.StatusCode(), row.code) << row.line;
    EXPECT_EQ(response.Version(), OString(row.version)) << row.line;
    EXPECT_TRUE(response.HeaderLines().empty());
  }
}

}  // namespace
}  // namespace portwise
