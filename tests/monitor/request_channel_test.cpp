#include "tests/support/monitor_fixture.h"

namespace portwise {
namespace {

class RequestChannel : public MonitorFixture {
 protected:
  ~RequestChannel() override { lmClosePortW(port_); }

  BOOL Ask(OString request, DWORD size) {
    std::fill(std::begin(out_), std::end(out_), '#');
    returned_ = 77;
    SetLastError(0);
    return lmGetPrinterDataFromPortW(port_, 0, const_cast<LPWSTR>(request.Wide()), nullptr, 0,
                                     reinterpret_cast<LPWSTR>(out_), size, &returned_);
  }
  std::string Out(size_t size) const { return std::string(out_, size); }
  std::string Stored(const char* name) {
    char value[64];
    const int size = registry_.GetBinary(OString("LOCAL:XPML/") + name, value, sizeof value);
    return size < 0 ? "none" : std::string(value, static_cast<size_t>(size));
  }

  ORegistry registry_;
  const HANDLE port_ = Open("FILE:");
  char out_[64];
  DWORD returned_ = 0;
};

TEST_F(RequestChannel, RunsAStoredRequestAndStoresItsReply) {
  const std::string request("<uppercase>a</uppercase>\0b", 26);
  registry_.SetBinary("LOCAL:XPML/Query1", request.data(), static_cast<DWORD>(request.size()));
  DWORD length = 0;
  ASSERT_TRUE(Ask("XPML:Label Printer,Query1", 64));
  EXPECT_EQ(returned_, 4u);
  std::memcpy(&length, out_, sizeof length);
  EXPECT_EQ(length, 3u);
  EXPECT_EQ(Stored("Query1"), std::string("A\0b", 3));
  EXPECT_TRUE(static_cast<PortContext*>(port_)->PrinterName() == "Label Printer");
  EXPECT_TRUE(Ask("XPML:Label Printer,Query1", 64)) << "the reply, as a request";
  const OString name(WideString({'L', 0xD800}));  // which no code page has
  static_cast<PortContext*>(port_)->SetPrinterName(name);
  EXPECT_TRUE(Ask("XPML:" + name + ",Query1", 64));
  EXPECT_TRUE(static_cast<PortContext*>(port_)->PrinterName() == name);
}

TEST_F(RequestChannel, WritesNothingWhereThereIsNoRoom) {
  const struct {
    const char* request;
    std::string answer;
    bool runsFirst;
  } rows[] = {{"<uppercase>abcde</uppercase>-<reverse>12</reverse>", "ABCDE-21", true},
              {"XPML:Labels,Sized", {"\5\0\0\0", 4}, false},
              {"Monitoring Enabled", "\1", false},
              {"<a></a>", "", true}};
  const std::string stored = "<reverse>12345</reverse>";
  for (const auto& row : rows) {
    const auto needed = static_cast<DWORD>(row.answer.size());
    for (DWORD size = 0; size <= needed + 2; ++size) {
      registry_.SetBinary("LOCAL:XPML/Sized", stored.data(), static_cast<DWORD>(stored.size()));
      const bool enough = size >= needed;
      SCOPED_TRACE(row.request + std::to_string(size));
      EXPECT_EQ(Ask(row.request, size), enough);
      EXPECT_EQ(GetLastError(), enough ? 0u : DWORD{ERROR_INVALID_PARAMETER});
      EXPECT_EQ(returned_, needed);
      const std::string written = enough ? row.answer : "";
      EXPECT_EQ(Out(sizeof out_), written + std::string(sizeof out_ - written.size(), '#'));
      EXPECT_TRUE(enough || row.runsFirst || Stored("Sized") == stored) << "it has run all the same";
    }
    // Sizes that lie about what there is, and nobody to tell.
    OString request = row.request;
    DWORD returned = 77;
    const auto ask = [&](DWORD size, LPDWORD told) {
      return lmGetPrinterDataFromPortW(port_, 0, const_cast<LPWSTR>(request.Wide()), nullptr, 0, nullptr, size, told);
    };
    EXPECT_EQ(ask(64, &returned), needed == 0) << "room, but nowhere";
    EXPECT_EQ(returned, needed);
    ask(0, nullptr);
    EXPECT_TRUE(Ask(row.request, 0xFFFFFFFF));
  }
}

TEST_F(RequestChannel, RefusesWhatItDoesNotUnderstand) {
  registry_.SetBinary("LOCAL:XPML/Empty", "", 0);
  registry_.SetBinary("LOCAL:XPML/Silent", "<a></a>", 7);
  for (const char* request :
       {"XPML:,Query1", "XPML:Labels,Missing", "XPML:Labels,", "XPML:Labels,Empty", "XPML:Labels,Silent",
        "xpml:Labels,Query1", "monitoring enabled", "Monitoring", "x", ""}) {
    EXPECT_FALSE(Ask(request, 64)) << request;
    EXPECT_TRUE(returned_ == 77 && out_[0] == '#' && GetLastError() == ERROR_INVALID_PARAMETER) << request;
  }
  EXPECT_FALSE(Ask("XPML:Labels", 64));
  EXPECT_EQ(returned_, 0u) << "no comma";
  EXPECT_EQ(Stored("Silent"), "") << "a reply of nothing is stored, but is no answer";
  EXPECT_TRUE(Ask("Monitoring Enabled, please", 1));
  SetLastError(0);
  EXPECT_EQ(ErrorOf(lmGetPrinterDataFromPortW(port_, 0, nullptr, nullptr, 0, nullptr, 0, nullptr)),
            ERROR_INVALID_PARAMETER);
}

}  // namespace
}  // namespace portwise
