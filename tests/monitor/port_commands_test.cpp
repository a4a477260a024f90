#include <gtest/gtest.h>

#include "tests/support/fake_job_monitor.h"
#include "tests/support/fake_plugins.h"
#include "tests/support/monitor_fixture.h"
#include "xpml/port/length_text.h"

namespace portwise {
namespace {

TEST(LengthText, ReadsNumbersWithTheirUnits) {
  struct Case {
    const char* text;
    LONGLONG length;  // 0.0001 mm
  };
  const Case cases[] = {
      {"1in", 254000},
      {"1.5INCHES", 381000},
      {"0.0019in", 254},
      {"2mm", 20000},
      {"2.12345mm", 21230},
      {"-1.5cm", -150000},
      {"0.00019cm", 10},
      {"100mils", 25400},
      {"2.9mils", 508},
      {"72pt", 254000},
      {"1Points", 3527},
      {"+.5mm", 5000},
      {"1.2.3mm", 12000},
      {"mm", 0},
      {"5", 0},
      {"5 mm", 0},
      {"5ptx", 0},
      {"5mmm", 0},
      {"", 0},
      {"1e3mm", 0},
      {"-mm", 0},
      {"99999999999999999999in", 254000000000},
  };
  for (const Case& each : cases) EXPECT_EQ(ReadLength(each.text), each.length) << each.text;
}

class StateCommand : public MonitorFixture {
 protected:
  StateCommand() {
    spooler_.printers["Labels"] = {"COM1:", ""};
    handle_ = Open("COM1:");
    port_ = static_cast<PortContext*>(handle_);
    monitor_ = std::make_unique<FakeJobMonitor>(port_->Events(), port_->DocumentLock());
    plugin_.statusKinds = static_cast<DWORD>(ConnectionKind::Com);
    port_->SetMonitor(*monitor_, plugin_);
  }
  ~StateCommand() override {
    monitor_->Stop();
    EXPECT_TRUE(lmClosePortW(handle_));
  }
  std::string Ask(const std::string& attributes) {
    TextBuffer reply;
    port_->ExecuteRequest("<state " + attributes + ">c</state>", reply);
    return std::string(reply.View());
  }

  HANDLE handle_ = nullptr;
  PortContext* port_ = nullptr;
  std::unique_ptr<FakeJobMonitor> monitor_;
  FakeMonitorInterface plugin_;
};

TEST_F(StateCommand, AppendsWhatIsAsked) {
  monitor_->SetStatuses({0x10001});
  port_->Events().RequestStatus(2000);
  ORegistry().SetBool("PRINT:Printers/Labels/PrinterDriverData/Security/Configuration Sharing", false);
  struct Case {
    const char* attributes;
    const char* reply;
  };
  const Case cases[] = {
      {"name='Status Code' action='get'", "c00010001"},
      {"name='STATUS code' action='GET'", "c00010001"},
      {"name='Status' action='get'", "cOut of Paper"},
      {"name='Status' action='get' language='enu'", "cOut of Paper"},
      {"name='Status Severity' action='get'", "c2"},
      {"name='Monitoring Supported' action='get'", "c1"},
      {"name='Configuration Sharing' action='get'", "c0"},
      {"name='Status Code' action='set'", "c"},
      {"name='Nothing' action='get'", "c"},
      {"action='get'", "c"},
  };
  for (const Case& each : cases) EXPECT_EQ(Ask(each.attributes), each.reply) << each.attributes;
  EXPECT_EQ(monitor_->TakeJournal().back(), "status read") << "or nobody would ask the printer";
  EXPECT_GT(Ask("name='OS' action='get'").size(), 1u);
  plugin_.statusKinds = 0;
  EXPECT_EQ(Ask("name='Monitoring Supported' action='get'"), "c0");
  EXPECT_EQ(Ask("name='Status' action='get'"), "cMonitoring Not Supported");
  EXPECT_EQ(Ask("name='Status Code' action='get'"), "c10000001");
}

}  // namespace
}  // namespace portwise
