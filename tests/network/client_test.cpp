#include <gtest/gtest.h>
#include <winsock2.h>

#include <atomic>
#include <thread>

#include "portwise/client.h"
#include "settings/printer_registry.h"
#include "tests/support/fake_printer.h"
#include "tests/support/fake_spooler.h"
#include "tests/support/temporary_home.h"

namespace portwise {
namespace {

using std::string_literals::operator""s;

/// What a server does with a connection once it has a whole request.
struct Answer {
  enum End { Close, Reset, Silence };

  std::string bytes;
  End end = Close;
  bool inPieces = false;
};

class ClientTest : public testing::Test {
 protected:
  ClientTest() {
    spooler_.printers["Labels"] = {"FILE:", ""};
    spooler_.printers["\\\\other\\Far Labels"] = {"FILE:", "", {{"server", "\\\\other"}}};
    spooler_.printers["\\\\other\\Shared"] = {"FILE:", "Dock 1", {{"server", "\\\\other"}}};
    for (const char* printer : {"Labels", "\\\\other\\Shared"}) {
      const PrinterRegistry registry(printer);
      registry.SetBool("NETWORK:Server Address Override", true);
      registry.SetString("NETWORK:Server Address", "127.0.0.1");
      registry.SetDword("NETWORK:TCP Port", server_.Port());
      registry.SetDword("NETWORK:Connection Timeout", 5000);
    }
  }

  /// The first connections get the answers, one each, and all others the last one.
  void Serve(const std::vector<Answer>& answers, const std::string& request) {
    for (connections_ = 0; !stop_;) {
      if (!server_.Accept(10)) continue;
      const Answer& answer = answers[std::min(connections_++, answers.size() - 1)];
      EXPECT_EQ(server_.Receive(request.size()), request);
      const size_t piece = answer.inPieces ? 1 : std::max<size_t>(answer.bytes.size(), 1);
      for (size_t i = 0; i < answer.bytes.size(); i += piece) server_.Send(answer.bytes.substr(i, piece));
      if (answer.end == Answer::Reset) server_.Reset();
      if (answer.end == Answer::Close) server_.Close();
    }
    server_.Close();
  }
  /// Asks while the server answers; the reply is in data_, as large as it says that it is.
  int Ask(const std::vector<Answer>& answers, const WCHAR* printer = TEXT("Labels"),
          const std::string& name = "printer=Labels", decltype(&SendXPMLRequest) send = &SendXPMLRequest_HTTP) {
    const std::string form = "xpml=%3Ca+b%3D'c+d'%2F%3E%FF&" + name;
    const std::string request =
        "POST /xpml HTTP/1.1\r\nContent-Type: application/x-www-form-urlencoded\r\nContent-Length: " +
        std::to_string(form.size()) + "\r\n\r\n" + form;
    stop_ = false;
    std::thread server([&] { Serve(answers, request); });
    auto* response = reinterpret_cast<PortwiseResponse*>(this);
    const int result = send(printer, "<a b='c d'/>\xFF", &response);
    error_ = GetLastError();
    stop_ = true;
    server.join();
    EXPECT_EQ(result == PORTWISE_NO_ANSWER, response == nullptr);
    EXPECT_EQ(HTTPResponse_Status(response), response ? 200 : 0);
    data_.assign(static_cast<size_t>(HTTPResponse_Size(response)) + 1, '#');
    const int copied = HTTPResponse_Data(response, data_.data());
    EXPECT_TRUE(copied < static_cast<int>(data_.size()) && data_.back() == '#') << "more than was announced";
    data_.resize(static_cast<size_t>(copied));
    EXPECT_EQ(HTTPResponse_Data(response, nullptr), 0);
    HTTPResponse_Free(response);
    return result;
  }

  TemporaryHome home_;
  FakeSpooler spooler_;
  FakePrinter server_;
  std::atomic<bool> stop_ = false;
  size_t connections_ = 0;
  DWORD error_ = 0;
  std::string data_;
};

TEST_F(ClientTest, BelievesOnlyWholeAnswersAndTriesAsOftenAsItIsSet) {
  const std::string good = "HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nab\0c"s;
  const std::string hasRun = "HTTP/1.1 500 Internal Server Error\r\nX-Request-Has-Run: yes\r\n\r\n";
  const std::string half = good.substr(0, good.size() - 1);
  const struct {
    std::vector<Answer> answers;
    size_t attempts;
    DWORD error;  // 0: the reply is `data`
    std::string data;
  } rows[] = {
      {{{good}}, 1, 0, "ab\0c"s},
      {{{good, Answer::Silence, true}}, 1, 0, "ab\0c"s},
      {{{half}, {half, Answer::Reset}, {good}}, 3, 0, "ab\0c"s},
      {{{"HTTP/1.0 200\n\nabc"}}, 1, 0, ""},  // announces nothing
      {{{"HTTP/1.1 200 OK\nCONTENT-LENGTH: 2\n\nabc"}}, 1, 0, "ab"},
      {{{half}}, 3, WSAECONNRESET, ""},
      {{{half, Answer::Reset}}, 3, WSAECONNRESET, ""},
      {{{half, Answer::Silence}}, 3, WSAETIMEDOUT, ""},
      {{{""}}, 3, WSAECONNRESET, ""},
      {{{"", Answer::Silence}}, 3, WSAETIMEDOUT, ""},
      {{{"HTTP/1.1 400 Bad Request\r\n\r\n"}}, 3, ERROR_INVALID_PRINTER_NAME, ""},
      {{{"HTTP/1.1 201 Created\r\n\r\n"}}, 3, ERROR_INVALID_DATA, ""},
      {{{hasRun}}, 1, ERROR_CAN_NOT_COMPLETE, ""},
      {{{"no server of HTTP\n\n"}}, 3, ERROR_INVALID_DATA, ""},
      {{{"HTTP/1.1 200 OK\r\nContent-Length: 4294967300\r\n\r\nabcd"}}, 3, ERROR_INVALID_DATA, ""},
      {{{"HTTP/1.1 200 OK\r\n" + std::string(70000, 'x'), Answer::Silence}}, 3, ERROR_INVALID_DATA, ""},
  };
  const PrinterRegistry registry("Labels");
  for (const auto& row : rows) {
    registry.SetDword("NETWORK:Connection Timeout", row.error == WSAETIMEDOUT ? 100 : 5000);
    const std::string shown = row.answers[0].bytes.substr(0, 50) + "... row " + std::to_string(&row - rows);
    EXPECT_EQ(Ask(row.answers), row.error == 0 ? PORTWISE_ANSWERED_HTTP : PORTWISE_NO_ANSWER) << shown;
    EXPECT_EQ(connections_, row.attempts) << shown;
    EXPECT_EQ(data_, row.data) << shown;
    if (row.error != 0) {
      EXPECT_EQ(error_, row.error) << shown;
    }
  }
  EXPECT_EQ(Ask({{hasRun}}, TEXT("Labels"), "printer=Labels", &SendXPMLRequest), 0);
  EXPECT_EQ(error_, DWORD{ERROR_CAN_NOT_COMPLETE}) << "it must not run through the spooler either";
  registry.SetDword("NETWORK:Connection Retries", 0);
  EXPECT_EQ(Ask({{half}}), 0);
  EXPECT_EQ(connections_, 1u);
  registry.SetDword("NETWORK:Connection Timeout", 100);
  EXPECT_EQ(SendXPMLRequest_HTTP(TEXT("Labels"), "x", nullptr), 0) << "nobody listens to this";
  EXPECT_EQ(GetLastError(), DWORD{WSAETIMEDOUT});
  server_.Refuse();
  EXPECT_EQ(SendXPMLRequest_HTTP(TEXT("Labels"), "x", nullptr), 0);
  EXPECT_EQ(GetLastError(), DWORD{WSAECONNREFUSED});
  registry.SetDword("NETWORK:TCP Port", 65536 + server_.Port());
  EXPECT_EQ(SendXPMLRequest_HTTP(TEXT("Labels"), "x", nullptr), 0);
  EXPECT_EQ(GetLastError(), DWORD{WSAEADDRNOTAVAIL});
}

TEST_F(ClientTest, AsksTheComputerOfThePrinter) {
  const std::vector<Answer> good = {{"HTTP/1.1 200 OK\r\nContent-Length: 1\r\n\r\nx"}};
  const WCHAR away[] = TEXT("\\\\other\\Far Labels"), shared[] = TEXT("\\\\other\\Shared");
  EXPECT_EQ(Ask(good, away, "printer=Far+Labels"), PORTWISE_ANSWERED_HTTP);
  EXPECT_EQ(Ask(good, shared, "share=Dock+1", &SendXPMLRequest), PORTWISE_ANSWERED_HTTP);

  // Without an answer, only a printer of this computer is asked through its spooler.
  const PrinterRegistry other(shared), own("Labels");
  other.SetBool("NETWORK:Network Communication", false);
  own.SetBool("NETWORK:TCP Enabled", false);
  EXPECT_EQ(Ask(good, shared, "", &SendXPMLRequest), 0);
  EXPECT_EQ(error_, DWORD{ERROR_NOT_SUPPORTED});
  EXPECT_EQ(Ask(good, TEXT("Labels"), "", &SendXPMLRequest), 0);
  EXPECT_EQ(error_, DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(connections_, 0u);

  // "localhost" stands for the server, unless there is an address.
  own.SetBool("NETWORK:TCP Enabled", true);
  own.SetBool("NETWORK:Network Bidirectional", false);
  own.SetDword("NETWORK:Connection Retries", 0);
  own.SetString("NETWORK:Server Address", "no.such.host.invalid");
  EXPECT_EQ(Ask(good), 0);
  own.SetBool("NETWORK:Server Address Override", false);
  EXPECT_EQ(Ask(good), PORTWISE_ANSWERED_HTTP);
}

TEST_F(ClientTest, NothingLeavesAnExport) {
  PortwiseResponse* response = nullptr;
  for (auto* send : {&SendXPMLRequest, &SendXPMLRequest_HTTP, &SendXPMLRequest_Local}) {
    response = reinterpret_cast<PortwiseResponse*>(this);
    EXPECT_EQ(send(nullptr, "x", &response), 0);
    EXPECT_EQ(response, nullptr);
    EXPECT_EQ(send(TEXT("Labels"), nullptr, nullptr), 0);
    EXPECT_EQ(send(TEXT("Nobody"), "x", nullptr), 0);
    EXPECT_EQ(send(reinterpret_cast<LPCWSTR>(16), "x", &response), 0) << "a fault";
  }
  EXPECT_EQ(HTTPResponse_Status(nullptr) + HTTPResponse_Size(nullptr) + HTTPResponse_Data(nullptr, &response), 0);
  EXPECT_EQ(HTTPResponse_Size(reinterpret_cast<PortwiseResponse*>(16)), 0) << "a fault";
  HTTPResponse_Free(nullptr);
  spooler_.printers["\xEF\xBF\xBD"] = {"FILE:", ""};
  EXPECT_EQ(SendXPMLRequest_Local(WideString({0xD800}).c_str(), "x", nullptr), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_UNICODE_TRANSLATION)) << "a name that the bytes lose";
  OStringArray left;
  ORegistry().EnumValues("LOCAL:XPML", &left);
  EXPECT_EQ(left.Size(), 0) << "requests stay in the registry";

  BYTE address[4] = {9, 9, 9, 9};
  EXPECT_FALSE(HostNameToIP("no.such.host.invalid", address));
  EXPECT_FALSE(HostNameToIP(nullptr, address));
  EXPECT_EQ(address[0], 9);
  EXPECT_TRUE(HostNameToIP("127.0.0.1", address));
  EXPECT_TRUE(address[0] == 127 && address[3] == 1);
}

}  // namespace
}  // namespace portwise
