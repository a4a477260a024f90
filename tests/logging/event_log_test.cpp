#include "logging/event_log.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <thread>
#include <vector>

#include "logging/printer_event_log.h"
#include "logging/printer_port_event_log.h"
#include "platform/eventlog/event_reader.h"
#include "settings/registry.h"
#include "tests/support/files.h"
#include "tests/support/temporary_home.h"

namespace portwise {
namespace {

std::vector<platform::Event> Events() {
  std::int64_t after = 0;
  std::vector<platform::Event> events;
  EXPECT_EQ(platform::ReadEvents(&after, {}, 1000, &events), ERROR_SUCCESS);
  return events;
}

TEST(EventLog, ANewSourceGetsItsKeyAndAnOldOneKeepsIt) {
  TemporaryHome home;
  const OString logs = "LOCAL_MACHINE:SYSTEM/CurrentControlSet/Services/Eventlog/";
  const ORegistry key(logs + "System/Source");
  OEventLog log("Source", OEventLog::kSystemLog);
  EXPECT_FALSE(key.GetKeyInfo("")) << "nothing before the first report";
  EXPECT_TRUE(log.Information("text", 0));
  EXPECT_TRUE(log.Information(WideString(40000, 'x'), 0)) << "longer than the system takes";
  DWORD type = 0, size = 0;
  for (const char* name : {"EventMessageFile", "CategoryMessageFile"}) {
    EXPECT_TRUE(key.GetString(name).EqualsNoCase("C:\\Windows\\System32\\msgtable.dll"));
    EXPECT_TRUE(key.GetValueInfo(name, &type, &size) && type == REG_SZ && size == 2 * 33) << type << ' ' << size;
  }
  EXPECT_EQ(key.GetDword("TypesSupported"), 7u);
  EXPECT_EQ(key.GetDword("CategoryCount"), 2u);

  EXPECT_TRUE(key.Delete("CategoryCount") && key.SetDword("TypesSupported", 3));
  EXPECT_TRUE(OEventLog("Source", 0).Information("text", 0));
  EXPECT_FALSE(key.GetValueInfo("CategoryCount"));
  EXPECT_EQ(key.GetDword("TypesSupported"), 3u);
  EXPECT_FALSE(ORegistry().GetKeyInfo(logs + "Application/Source"));
}

TEST(EventLog, IdentifiersOfEachLogAndType) {
  TemporaryHome home;
  const struct {
    DWORD logKind;
    WORD type, reported;
    DWORD id;
  } rows[] = {{1, 4, 4, 0x40000100}, {1, 2, 2, 0x80000200}, {1, 8, 1, 0xC0000300},
              {2, 4, 4, 0x40FF0400}, {2, 2, 2, 0x80FF0500}, {0, 0, 1, 0xC0FF0600}};
  for (const auto& row : rows) {
    EXPECT_TRUE(OEventLog(OString::FromInt(row.logKind), row.logKind).Report(row.type, "text", 0x8001));
    const platform::Event event = Events().back();
    EXPECT_EQ(event.id, row.id) << row.logKind << ' ' << row.type;
    EXPECT_TRUE(event.type == row.reported && event.category == 0x8001) << event.type;
    EXPECT_EQ(event.log, row.logKind == 1 ? "Application" : "System");
  }
}

TEST(EventLog, HeadersNamePortAndPrinter) {
  TemporaryHome home;
  PrinterPortEventLog port("LPT1:");
  PrinterEventLog printer;
  for (const char* name : {"", "P"}) {
    port.SetPrinterName(name);
    printer.SetPrinterName(name);
    EXPECT_TRUE(port.Warning("text", 1) && printer.Error("text", 1));
  }
  const struct {
    const char* source;
    DWORD id;
    WideString text;
  } rows[] = {{"Corvane Print Monitor", 0x80FF0500, TEXT("Port: LPT1:text")},
              {"Corvane Printer Driver", 0xC0FF0600, TEXT("text")},
              {"Corvane Print Monitor", 0x80FF0500, TEXT("Port: LPT1:\tPrinter: P\r\ntext")},
              {"Corvane Printer Driver", 0xC0FF0600, TEXT("Printer: P\r\ntext")}};
  const auto events = Events();
  ASSERT_EQ(events.size(), std::size(rows));
  for (std::size_t i = 0; i < events.size(); ++i) {
    EXPECT_EQ(events[i].strings, std::vector{rows[i].text}) << i;
    EXPECT_TRUE(events[i].source == rows[i].source && events[i].id == rows[i].id && events[i].log == "System") << i;
  }
}

#ifndef _WIN32
TEST(EventLog, AFailedRegistrationIsTriedAgain) {
  TemporaryHome home;
  const auto file = home.Path() / "registry.db";
  WriteBytes(file, std::string(5000, 'x'));
  OEventLog log("Source", OEventLog::kSystemLog);
  EXPECT_FALSE(log.Error("text", 0));
  std::filesystem::remove(file);
  EXPECT_TRUE(log.Error("text", 0));
  EXPECT_EQ(Events().size(), 1u);
}
#endif

TEST(EventLog, ThreadsReportThroughOneObject) {
  TemporaryHome home;
  PrinterPortEventLog log("port");
  const auto work = [&log] {
    for (int n = 0; n < 40; ++n) {
      log.SetPrinterName(OString::FromInt(n));
      EXPECT_TRUE(log.Information("text", 0));
    }
  };
  std::thread other(work);
  work();
  other.join();
  EXPECT_EQ(Events().size(), 80u);
}

}  // namespace
}  // namespace portwise
