#include <gtest/gtest.h>

#include <map>

#include "connection/connection_com.h"
#include "connection/connection_generic.h"
#include "connection/connection_parallel.h"
#include "connection/connection_usb.h"
#include "platform/test_system.h"
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
    for (Connection* connection : {static_cast<Connection*>(&parallel_), static_cast<Connection*>(&usb_),
                                   static_cast<Connection*>(&serial_), static_cast<Connection*>(&generic_)}) {
      connection->SetPortContext(&port_);
    }
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
  char buffer_[64];
};

TEST_F(DeviceConnection, EveryClassAnswersTheCommonRequests) {
  for (Connection* connection : {static_cast<Connection*>(&parallel_), static_cast<Connection*>(&usb_),
                                 static_cast<Connection*>(&serial_), static_cast<Connection*>(&generic_)}) {
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
    EXPECT_EQ(times.ReadIntervalTimeout, interval);
    EXPECT_EQ(times.ReadTotalTimeoutConstant, total);
    EXPECT_EQ(times.ReadTotalTimeoutMultiplier + times.WriteTotalTimeoutMultiplier + times.WriteTotalTimeoutConstant,
              0u);
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
  EXPECT_EQ(generic_.GetStatus(0x3), STATUS_UNIDIRECTIONAL);
  EXPECT_EQ(serial_.GetStatus(kAllStatus), 0u);
}

}  // namespace
}  // namespace portwise
