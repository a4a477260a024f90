#include <gtest/gtest.h>

#include "monitor/entry_points.h"
#include "monitor/port_list.h"
#include "settings/registry.h"
#include "tests/support/fake_port_monitor.h"
#include "tests/support/fake_spooler.h"
#include "tests/support/temporary_home.h"

namespace portwise {
namespace {

class RequestChannel : public testing::Test {
 protected:
  RequestChannel() {
    CreatePortList();
    WCHAR port[] = TEXT("FILE:"), printer[] = TEXT("Labels");
    lmOpenPortEx2W(MonitorTable(), below_.Monitor(), port, printer, &port_, &below_.table);
  }
  ~RequestChannel() override {
    lmClosePortW(port_);
    DestroyPortList();
  }

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

  TemporaryHome home_;
  FakeSpooler spooler_;
  FakePortMonitor below_;
  ORegistry registry_;
  HANDLE port_ = nullptr;
  char out_[64];
  DWORD returned_ = 0;
};

TEST_F(RequestChannel, AnswersADocumentInPlace) {
  ASSERT_TRUE(Ask("<uppercase>abc</uppercase>-<reverse>12</reverse>", 6));
  EXPECT_EQ(returned_, 6u);
  EXPECT_EQ(Out(7), "ABC-21#");
  EXPECT_FALSE(Ask("<uppercase>abc</uppercase>", 2));
  EXPECT_EQ(returned_, 3u) << "what is needed";
  EXPECT_EQ(Out(1), "#");
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
  EXPECT_TRUE(Ask("<lowercase></lowercase>", 0));
  EXPECT_EQ(returned_, 0u);
}

TEST_F(RequestChannel, RunsAStoredRequestAndStoresItsReply) {
  const std::string request("<uppercase>a</uppercase>\0b", 26);
  registry_.SetBinary("LOCAL:XPML/Query1", request.data(), static_cast<DWORD>(request.size()));
  DWORD length = 0;
  EXPECT_FALSE(Ask("XPML:Label Printer,Query1", 3)) << "no room for the answer";
  EXPECT_EQ(returned_, 4u);
  EXPECT_EQ(Stored("Query1"), request) << "nothing has run";
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
    DWORD needed;
    bool runsFirst;
  } rows[] = {{"<uppercase>abcdefgh</uppercase>", 8, true},
              {"XPML:Labels,Sized", 4, false},
              {"Monitoring Enabled", 1, false},
              {"<a></a>", 0, true}};
  const std::string stored = "<reverse>12345</reverse>";
  for (const auto& row : rows) {
    for (DWORD size = 0; size <= row.needed + 2; ++size) {
      registry_.SetBinary("LOCAL:XPML/Sized", stored.data(), static_cast<DWORD>(stored.size()));
      const bool enough = size >= row.needed;
      EXPECT_EQ(Ask(row.request, size), enough) << row.request << ' ' << size;
      EXPECT_EQ(returned_, row.needed) << row.request << ' ' << size;
      const size_t written = enough ? row.needed : 0;
      EXPECT_EQ(Out(sizeof out_).substr(written), std::string(sizeof out_ - written, '#'))
          << row.request << ' ' << size;
      if (!enough && !row.runsFirst) {
        EXPECT_EQ(Stored("Sized"), stored) << "it has run all the same";
      }
    }
    // Sizes that lie about what there is, and nobody to tell.
    OString request = row.request;
    DWORD returned = 77;
    const auto ask = [&](DWORD size, LPDWORD told) {
      return lmGetPrinterDataFromPortW(port_, 0, const_cast<LPWSTR>(request.Wide()), nullptr, 0, nullptr, size, told);
    };
    EXPECT_EQ(ask(64, &returned), row.needed == 0) << "room, but nowhere";
    EXPECT_EQ(returned, row.needed);
    ask(0, nullptr);
    EXPECT_EQ(Ask(row.request, 0xFFFFFFFF), TRUE);
  }
}

TEST_F(RequestChannel, RefusesWhatItDoesNotUnderstand) {
  registry_.SetBinary("LOCAL:XPML/Empty", "", 0);
  registry_.SetBinary("LOCAL:XPML/Silent", "<a></a>", 7);
  for (const char* request :
       {"XPML:,Query1", "XPML:Labels,Missing", "XPML:Labels,", "XPML:Labels,Empty", "XPML:Labels,Silent",
        "xpml:Labels,Query1", "monitoring enabled", "Monitoring", "x", ""}) {
    EXPECT_FALSE(Ask(request, 64)) << request;
    EXPECT_EQ(returned_, 77u) << request;
    EXPECT_EQ(Out(1), "#") << request;
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
  }
  EXPECT_FALSE(Ask("XPML:Labels", 64));
  EXPECT_EQ(returned_, 0u) << "no comma";
  EXPECT_EQ(Stored("Silent"), "") << "a reply of nothing is stored, but is no answer";
  EXPECT_TRUE(Ask("Monitoring Enabled, please", 1));
  EXPECT_EQ(returned_, 1u);
  EXPECT_EQ(out_[0], 1);
  EXPECT_FALSE(Ask("Monitoring Enabled", 0));
  EXPECT_EQ(returned_, 1u);
  SetLastError(0);
  EXPECT_FALSE(lmGetPrinterDataFromPortW(port_, 0, nullptr, nullptr, 0, nullptr, 0, nullptr));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

}  // namespace
}  // namespace portwise
