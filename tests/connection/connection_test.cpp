#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "connection/connection_generic.h"
#include "tests/connection/fake_port_link.h"

namespace portwise {
namespace {

std::string calls;
COMMTIMEOUTS lastTimeouts;

/// A port monitor that notes its calls. Every handle counts as its own.
PortMonitorFunctions NotingFunctions() {
  PortMonitorFunctions functions;
  functions.pfnStartDocPort = [](HANDLE, LPWSTR printer, DWORD job, DWORD level, LPBYTE) -> BOOL {
    calls += "start " + std::string(OString(printer).NarrowView()) + " " + std::to_string(job * 10 + level) + ";";
    return 2;
  };
  functions.pfnWritePort = [](HANDLE, LPBYTE data, DWORD size, LPDWORD written) -> BOOL {
    calls += "write " + std::string(reinterpret_cast<char*>(data), size) + ";";
    *written = size - 1;
    return FALSE;
  };
  functions.pfnReadPort = [](HANDLE, LPBYTE buffer, DWORD size, LPDWORD read) -> BOOL {
    std::memset(buffer, 'r', size);
    *read = size;
    return TRUE;
  };
  functions.pfnEndDocPort = [](HANDLE) -> BOOL { return FALSE; };
  functions.pfnSetPortTimeOuts = [](HANDLE, LPCOMMTIMEOUTS timeouts, DWORD) -> BOOL {
    calls += "timeouts;";
    lastTimeouts = *timeouts;
    return TRUE;
  };
  return functions;
}

TEST(ConnectionTest, PassesEverythingToThePortMonitorOrSaysThatItCannot) {
  FakePortLink port("FILE:");
  Connection_Generic connection;
  connection.SetPortContext(&port);
  DWORD moved = 7;
  char data[4] = {};
  for (const bool withHandle : {false, true}) {
    port.handle = withHandle ? &port : nullptr;
    port.functions = withHandle ? PortMonitorFunctions() : NotingFunctions();
    EXPECT_FALSE(connection.Write("abc", 3, &moved) || moved != 0);
    moved = 7;
    EXPECT_FALSE(connection.Read(data, 4, &moved) || moved != 0);
    EXPECT_FALSE(connection.SetTimeouts({1, 2, 3, 4, 5}));
  }
  EXPECT_FALSE(connection.StartDoc(3, 1, nullptr));
  EXPECT_TRUE(connection.EndDoc());

  calls.clear();
  port.functions = NotingFunctions();
  EXPECT_TRUE(connection.StartDoc(3, 1, nullptr));
  EXPECT_FALSE(connection.Write("abc", 3, &moved));
  EXPECT_EQ(moved, 2u);
  EXPECT_TRUE(connection.Read(data, 4, &moved));
  EXPECT_EQ(std::string(data, moved), "rrrr");
  EXPECT_FALSE(connection.EndDoc());
  EXPECT_EQ(calls, "start Labels 31;write abc;");
  EXPECT_EQ(connection.GetStatus(0x70003), kStatusUnidirectional);
  EXPECT_EQ(connection.GetStatus(0x1), 0u);
}

TEST(ConnectionTest, TimeoutsReachThePortMonitorOnlyWhenTheyChange) {
  FakePortLink port("FILE:");
  port.handle = &port;
  port.functions = NotingFunctions();
  Connection_Generic connection;
  connection.SetPortContext(&port);
  calls.clear();
  COMMTIMEOUTS timeouts = {9, 9, 9, 9, 9};
  connection.GetTimeouts(&timeouts);
  EXPECT_EQ(timeouts.ReadIntervalTimeout, 0u);
  for (const DWORD total : {0u, 1000u, 1000u, 0u}) EXPECT_TRUE(connection.SetTimeouts({0, 0, total, 0, 0}));
  EXPECT_EQ(calls, "timeouts;");
  EXPECT_TRUE(connection.SetTimeouts({0, 0, 1000, 0, 1}));
  EXPECT_EQ(calls, "timeouts;timeouts;");
  connection.GetTimeouts(&timeouts);
  EXPECT_EQ(std::memcmp(&timeouts, &lastTimeouts, sizeof timeouts), 0);
  EXPECT_EQ(timeouts.WriteTotalTimeoutConstant, 1u);
}

}  // namespace
}  // namespace portwise
