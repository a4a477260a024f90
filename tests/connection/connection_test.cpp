#include <gtest/gtest.h>

#include "connection/connection_generic.h"
#include "tests/support/api_function.h"
#include "tests/support/fake_port_link.h"

namespace portwise {
namespace {

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

TEST(ConnectionTest, PassesEverythingToThePortMonitorOrSaysThatItCannot) {
  FakePortLink port("FILE:");
  Connection_Generic connection;
  connection.SetPortContext(&port);
  char data[4] = {};
  for (const bool withHandle : {false, true}) {
    port.handle = withHandle ? &port : nullptr;
    port.functions = withHandle ? PortMonitorFunctions() : SparingFunctions();
    DWORD moved = 7;
    EXPECT_FALSE(connection.Write("abc", 3, &moved) || moved != 0);
    moved = 7;
    EXPECT_FALSE(connection.Read(data, 4, &moved) || moved != 0);
    EXPECT_FALSE(connection.SetTimeouts({1, 2, 3, 4, 5}));
  }
  EXPECT_FALSE(connection.StartDoc(3, 1, nullptr));
  EXPECT_TRUE(connection.EndDoc());

  port.functions = SparingFunctions();
  DWORD written = 0;
  EXPECT_TRUE(connection.StartDoc(3, 1, nullptr));
  EXPECT_FALSE(connection.Write("abc", 3, &written));
  EXPECT_EQ(written, 2u);
  EXPECT_FALSE(connection.EndDoc());
  EXPECT_EQ(connection.GetStatus(0x70003), STATUS_UNIDIRECTIONAL);
  EXPECT_EQ(connection.GetStatus(0x1), 0u);
}

TEST(ConnectionTest, TimeoutsReachThePortMonitorOnlyWhenTheyChange) {
  FakePortLink port("FILE:");
  port.handle = &port;
  port.functions = SparingFunctions();
  Connection_Generic connection;
  connection.SetPortContext(&port);
  timeoutCalls = 0;
  COMMTIMEOUTS timeouts = {9, 9, 9, 9, 9};
  connection.GetTimeouts(&timeouts);
  EXPECT_EQ(timeouts.ReadIntervalTimeout, 0u);
  for (const DWORD total : {0u, 1000u, 1000u, 0u}) EXPECT_TRUE(connection.SetTimeouts({0, 0, total, 0, 0}));
  EXPECT_EQ(timeoutCalls, 1);
  EXPECT_TRUE(connection.SetTimeouts({0, 0, 1000, 0, 1}));
  EXPECT_EQ(timeoutCalls, 2);
  connection.GetTimeouts(&timeouts);
  EXPECT_EQ(timeouts.WriteTotalTimeoutConstant, 1u);
}

}  // namespace
}  // namespace portwise
