#include <gtest/gtest.h>

#include <map>

#include "connection/connection_com.h"
#include "connection/connection_generic.h"
#include "connection/connection_parallel.h"
#include "connection/connection_usb.h"
#include "platform/test_system.h"
#include "tests/support/api_function.h"
#include "tests/support/fake_port_link.h"
#include "tests/support/fake_spooler.h"

namespace portwise {
namespace {

constexpr DWORD kAllStatus =
    STATUS_DISCONNECTED | STATUS_UNIDIRECTIONAL | STATUS_OFF_LINE | STATUS_PAPER_EMPTY | STATUS_SELECTED;

/// A device that answers requests by their numbers.
struct Device {
  std::map<DWORD, std::string> answers;
  std::vector<std::pair<DWORD, std::string>> requests;
};
Device device;

BOOL WINAPI AskDevice(HANDLE, DWORD request, LPWSTR name, LPWSTR in, DWORD inSize, LPWSTR out, DWORD outSize,
                      LPDWORD returned) {
  EXPECT_EQ(name, nullptr);
  device.requests.emplace_back(request, in ? std::string(reinterpret_cast<const char*>(in), inSize) : "none");
  const auto found = device.answers.find(request);
  if (found == device.answers.end()) return FALSE;
  *returned = std::min(outSize, static_cast<DWORD>(found->second.size()));
  if (out) std::memcpy(out, found->second.data(), *returned);
  return TRUE;
}

class DeviceConnection : public testing::Test {
 protected:
  DeviceConnection() {
    device = {};
    port_.handle = &port_;
    port_.functions.pfnGetPrinterDataFromPort = AskDevice;
    for (Connection* connection : connections_) connection->SetPortContext(&port_);
  }
  LONG Ask(Connection& connection, DWORD code, const char* text = nullptr, DWORD size = 16) {
    std::fill(std::begin(buffer_), std::end(buffer_), '#');
    return connection.Control(code, text, buffer_, size);
  }

  FakePortLink port_{"LPT1:"};
  FakeSpooler spooler_;
  Connection_Parallel parallel_;
  Connection_USB usb_;
  Connection_COM serial_;
  Connection_Generic generic_;
  Connection* const connections_[4] = {&parallel_, &usb_, &serial_, &generic_};
  char buffer_[64];
};

TEST_F(DeviceConnection, EveryClassAnswersTheCommonRequests) {
  for (Connection* connection : connections_) {
    EXPECT_EQ(Ask(*connection, CONTROL_XPML_REQUEST, "abc", 8), 12) << "the whole reply's length";
    EXPECT_EQ(std::string(buffer_, 9), "reply to#");
    EXPECT_EQ(connection->Control(CONTROL_XPML_REQUEST, "abc", nullptr, 0), 12);
    EXPECT_EQ(Ask(*connection, CONTROL_SEND_TIMEOUT), 31000);
    EXPECT_EQ(Ask(*connection, CONTROL_RESPONSE_TIMEOUT), 7000);
    EXPECT_EQ(Ask(*connection, 999), 0);
    EXPECT_TRUE(connection->Open() && connection->OpenStatus() && connection->Close());
    EXPECT_TRUE(connection->RefreshAddress(true));
    EXPECT_FALSE(connection->IsNetwork());
  }
  EXPECT_EQ(Ask(serial_, CONTROL_DEVICE_ID), 0);
  EXPECT_TRUE(device.requests.empty());
  const struct {
    Connection& connection;
    DWORD interval;
    DWORD total;
  } timeouts[] = {{parallel_, 100, 250}, {usb_, 200, 1000}, {serial_, 200, 1000}, {generic_, 0, 0}};
  for (const auto& [connection, interval, total] : timeouts) {
    COMMTIMEOUTS times = {9, 9, 9, 9, 9};
    connection.GetTimeouts(&times);
    const COMMTIMEOUTS expected = {interval, 0, total, 0, 0};
    EXPECT_EQ(std::memcmp(&times, &expected, sizeof times), 0) << interval;
  }
}

TEST_F(DeviceConnection, SendsItsRequestsDown) {
  EXPECT_EQ(Ask(parallel_, CONTROL_DEVICE_ID), 0) << "no answer";
  device.answers = {{0x16000C, "MFG:A"}, {0x220034, "MFG:B;"}, {0x22003C, "xy"}, {0x220040, ""}};
  device.requests.clear();
  EXPECT_EQ(Ask(parallel_, CONTROL_DEVICE_ID, nullptr, 3), 3);
  EXPECT_EQ(std::string(buffer_, 4), "MFG#");
  EXPECT_EQ(Ask(usb_, CONTROL_DEVICE_ID), 6);
  EXPECT_EQ(Ask(usb_, CONTROL_VENDOR_GET, "abcd"), 2);
  EXPECT_EQ(Ask(usb_, CONTROL_SOFT_RESET), 1);
  const std::vector<std::pair<DWORD, std::string>> expected = {
      {0x16000C, "none"}, {0x220034, "none"}, {0x22003C, "abc"}, {0x220040, "none"}};
  EXPECT_EQ(device.requests, expected);
  port_.handle = nullptr;
  EXPECT_EQ(Ask(usb_, CONTROL_DEVICE_ID), 0);
  EXPECT_EQ(Ask(usb_, CONTROL_SOFT_RESET), 0);
}

TEST_F(DeviceConnection, AParallelPrintersLinesAreItsStatus) {
  const auto bytes = [](WORD word) { return std::string(reinterpret_cast<const char*>(&word), sizeof word); };
  const struct {
    const char* why;
    std::string lines;
    std::string modes;
    DWORD mask;
    DWORD status;
  } cases[] = {
      {"switched off hides all else", "\x9c", bytes(0), kAllStatus, STATUS_DISCONNECTED},
      {"switched off, not asked", "\x9c", bytes(0), STATUS_OFF_LINE | STATUS_UNIDIRECTIONAL, 0},
      {"everything", "\x8c", bytes(0x0003), kAllStatus, kAllStatus & ~STATUS_DISCONNECTED},
      {"only what is asked", "\x8c", bytes(0), STATUS_PAPER_EMPTY, STATUS_PAPER_EMPTY},
      {"reverse channel", "\x80", bytes(0x0004), kAllStatus, STATUS_SELECTED},
  };
  for (const auto& [why, lines, modes, mask, status] : cases) {
    device.answers = {{0x160004, lines}, {0x160024, modes}};
    EXPECT_EQ(parallel_.GetStatus(mask), status) << why;
  }
  device = {};
  EXPECT_EQ(parallel_.GetStatus(kAllStatus), 0u) << "a driver that answers nothing";
  EXPECT_EQ(device.requests.back().second, bytes(0xFFFA));
  EXPECT_EQ(serial_.GetStatus(kAllStatus), 0u);
}

int timeoutCalls = 0;

/// A port monitor that takes less than it is given.
PortMonitorFunctions SparingFunctions() {
  PortMonitorFunctions functions;
  functions.pfnStartDocPort = ApiFunction(
      [](HANDLE, LPWSTR printer, DWORD, DWORD, LPBYTE) -> BOOL { return OString(printer) == "Labels" ? 2 : FALSE; });
  functions.pfnWritePort = ApiFunction([](HANDLE, LPBYTE, DWORD size, LPDWORD written) -> BOOL {
    *written = size - 1;
    return FALSE;
  });
  functions.pfnEndDocPort = ApiFunction([](HANDLE) -> BOOL { return FALSE; });
  functions.pfnSetPortTimeOuts = ApiFunction([](HANDLE, LPCOMMTIMEOUTS, DWORD) -> BOOL { return ++timeoutCalls; });
  return functions;
}

TEST_F(DeviceConnection, PassesEverythingToThePortMonitorOrSaysThatItCannot) {
  char data[4] = {};
  for (const bool withHandle : {false, true}) {
    port_.handle = withHandle ? &port_ : nullptr;
    port_.functions = withHandle ? PortMonitorFunctions() : SparingFunctions();
    DWORD moved = 7;
    EXPECT_FALSE(generic_.Write("abc", 3, &moved) || moved != 0);
    moved = 7;
    EXPECT_FALSE(generic_.Read(data, 4, &moved) || moved != 0);
    EXPECT_FALSE(generic_.SetTimeouts({1, 2, 3, 4, 5}));
  }
  EXPECT_FALSE(generic_.StartDoc(3, 1, nullptr));
  EXPECT_TRUE(generic_.EndDoc());

  port_.functions = SparingFunctions();
  DWORD written = 0;
  EXPECT_TRUE(generic_.StartDoc(3, 1, nullptr));
  EXPECT_FALSE(generic_.Write("abc", 3, &written));
  EXPECT_EQ(written, 2u);
  EXPECT_FALSE(generic_.EndDoc());
  EXPECT_EQ(generic_.GetStatus(0x70003), STATUS_UNIDIRECTIONAL);
  EXPECT_EQ(generic_.GetStatus(0x1), 0u);
}

TEST_F(DeviceConnection, TimeoutsReachThePortMonitorOnlyWhenTheyChange) {
  port_.functions = SparingFunctions();
  timeoutCalls = 0;
  COMMTIMEOUTS timeouts = {9, 9, 9, 9, 9};
  generic_.GetTimeouts(&timeouts);
  EXPECT_EQ(timeouts.ReadIntervalTimeout, 0u);
  for (const DWORD total : {0u, 1000u, 1000u, 0u}) EXPECT_TRUE(generic_.SetTimeouts({0, 0, total, 0, 0}));
  EXPECT_EQ(timeoutCalls, 1);
  EXPECT_TRUE(generic_.SetTimeouts({0, 0, 1000, 0, 1}));
  EXPECT_EQ(timeoutCalls, 2);
  generic_.GetTimeouts(&timeouts);
  EXPECT_EQ(timeouts.WriteTotalTimeoutConstant, 1u);
}

}  // namespace
}  // namespace portwise
