#include "connection/port_discovery.h"

#include <gtest/gtest.h>

#include "connection/create_connection.h"
#include "tests/support/fake_port_link.h"
#include "tests/support/temporary_home.h"

namespace portwise {
namespace {

TEST(PortDiscoveryTest, RegisteredPortsComeBeforeNamesAndOnlyRawOnesAreDrivenDirectly) {
  const TemporaryHome home;
  RegisterPort("IP_1", "", "127.0.0.1", 9100);
  RegisterPort("IP_LPR", "", "127.0.0.1", 515, kProtocolLpr);
  RegisterPort("IP_BOTH", "", "127.0.0.1", 9100, kProtocolRaw, "HP Standard TCP/IP Port");
  RegisterPort("IP_BOTH", "", "127.0.0.1", 9100);
  RegisterPort("IP_HP", "", "127.0.0.1", 9100, kProtocolRaw, "HP Standard TCP/IP Port");
  RegisterPort("LPT7:", "", "127.0.0.1", 9100, kProtocolRaw, "Corvane Port");
  RegisterPort("IP_C", "", "127.0.0.1", 9100, kProtocolRaw, "Corvane TCP/IP Port");
  RegisterPort("IP_OTHER", "", "127.0.0.1", 9100, kProtocolRaw, "Another Port");
  const struct {
    const char* name;
    PortKind kind;
    const char* monitor;  // empty when none knows the port
    bool raw;
  } cases[] = {
      {"ip_1", PortKind::kStandardTcp, "Standard TCP/IP Port\\", true},
      {"IP_LPR", PortKind::kStandardTcp, "Standard TCP/IP Port\\", false},
      {"IP_BOTH", PortKind::kStandardTcp, "Standard TCP/IP Port\\", true},
      {"IP_HP", PortKind::kHpStandardTcp, "HP Standard TCP/IP Port\\", true},
      {"LPT7:", PortKind::kCorvane, "Corvane Port\\", true},
      {"IP_C", PortKind::kCorvaneTcp, "Corvane TCP/IP Port\\", true},
      {"IP_OTHER", PortKind::kOther, "", false},
      {"LPT1:", PortKind::kParallel, "", false},
      {"USB001", PortKind::kUsb, "", false},
      {"com12::", PortKind::kSerial, "", false},
      {"COM:", PortKind::kOther, "", false},
      {"COM1x", PortKind::kOther, "", false},
      {"LPT1:2", PortKind::kOther, "", false},
      {"FILE:", PortKind::kOther, "", false},
      {"", PortKind::kOther, "", false},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(ClassifyPort(row.name), row.kind) << row.name;
    EXPECT_EQ(MonitorPortKeyPath(row.name),
              OString("System\\CurrentControlSet\\Control\\Print\\Monitors\\") + row.monitor + "Ports\\" + row.name);
    FakePortLink port(row.name);
    EXPECT_EQ(IsRawTcpPort(&port), row.raw) << row.name;
    EXPECT_EQ(CreateConnection(&port)->IsTcp(), row.raw) << row.name;
  }
}

}  // namespace
}  // namespace portwise
