#include <gmock/gmock.h>
#include <windows.h>
#include <winspool.h>

#include <cstring>
#include <thread>

#include "core/thread_local_singleton.h"
#include "platform/test_clock.h"
#include "platform/test_system.h"
#include "platform/text.h"
#include "settings/odometer.h"
#include "settings/printer_info.h"
#include "settings/printer_registry.h"
#include "settings/spooler_buffer.h"
#include "tests/support/environment.h"
#include "tests/support/fake_spooler.h"
#include "tests/support/print_ostring.h"
#include "tests/support/temporary_home.h"

namespace portwise {
namespace {

/// Printers as a test's thread sees them for the first time.
class PrinterSettingsTest : public testing::Test {
 protected:
  PrinterSettingsTest() { SetVariable("PORTWISE_COMPUTER_NAME", "DESK7"); }
  ~PrinterSettingsTest() override {
    SetVariable("PORTWISE_COMPUTER_NAME", nullptr);
    platform::SetSystemVersion(nullptr);
    ThreadLocalSlot::DestroyObjects();
  }

  static std::string Text(const char* text) {
    const WideString units = platform::ToUtf16(text);
    return {reinterpret_cast<const char*>(units.c_str()), (units.size() + 1) * sizeof(WCHAR)};
  }

  TemporaryHome home_;
  FakeSpooler spooler_;
};

TEST_F(PrinterSettingsTest, WhereAPrinterLives) {
  const struct {
    const char *name, *server, *port, *expectedServer, *shortName, *share;
    bool remote;
  } rows[] = {
      {"Labels", "", "LPT1:", "DESK7", "Labels", "own", false},
      {"\\\\S\\P", "\\\\S", "IP_1", "S", "P", "own", true},
      {"\\\\S\\P\\Q", "S", "IP_1", "S", "P\\Q", "own", true},
      {"Local", "", "\\\\S\\Q", "S", "Local", "Q", true},
      {"Half", "", "\\\\S", "S", "Half", "own", true},
      {"a\\b", "\\\\\\\\T", "\\\\S\\Q", "T", "a\\b", "own", true},
  };
  for (const auto& row : rows) {
    spooler_.printers[row.name] = {row.port, "own", {{"server", row.server}}};
    const PrinterInfo info((OString(row.name)));
    EXPECT_EQ(info.serverName + "|" + info.shortName + "|" + info.shareName,
              OString(row.expectedServer) + "|" + row.shortName + "|" + row.share)
        << row.name;
    EXPECT_TRUE(info.remote == row.remote && !info.sessionPrinter) << row.name;
  }
}

TEST_F(PrinterSettingsTest, WhatTheDriverIs) {
  DEVMODEW mode{};
  mode.dmSize = sizeof mode;
  mode.dmDriverExtra = 5;
  std::string devMode(reinterpret_cast<const char*>(&mode), sizeof mode);
  FakeSpooler::Printer& printer = spooler_.printers["Labels"];
  printer.port = "LPT1:";
  printer.facts = {{"driver", "Thermal"}, {"comment", "c"}, {"separator", "s"}, {"attributes", 0x840u}};
  printer.devMode = devMode + "extra and more";
  printer.driver = {{"file", "C:\\Drivers\\x64\\therm.dll"},
                    {"dataFile", "C:\\Drivers\\ABCxY.dat"},
                    {"helpFile", "plain.hlp"},
                    {"dependentFiles", {"C:\\a\\one.dll", "/x/two.dll"}},
                    {"version", 3u},
                    {"driverDate", "02/29/2000"},
                    {"driverVersion", "10.2.30000.4"},
                    {"environment", "Windows x64"}};
  const PrinterInfo info("Labels");
  EXPECT_EQ(info.driverFolder + "|" + info.driverFile + "|" + info.dataFile + "|" + info.oemPrefix + "|" +
                info.oemCode + "|" + info.helpFile + "|" + info.configFile + "|" + info.dependentFiles[1],
            "C:\\Drivers\\x64|therm.dll|ABCxY.dat|abc|xy|plain.hlp||two.dll");
  EXPECT_EQ(info.driverVersion64, 0x000a000275300004u);
  EXPECT_TRUE(info.driverDate.dwHighDateTime == 0x1bf8247 && info.driverDate.dwLowDateTime == 0xebcc8000);
  EXPECT_EQ(std::string(info.devMode.begin(), info.devMode.end()), devMode + "extra");
  EXPECT_TRUE(PrinterInfo::IsBidirectional("Labels"));

  printer.devMode = devMode + "ext";
  printer.driver["dataFile"] = "abcd";
  spooler_.printers["Copy"] = printer;
  EXPECT_TRUE(PrinterInfo("Copy").devMode.empty()) << "shorter than it says";
  EXPECT_EQ(PrinterInfo("Copy").oemCode, OString("d"));
}

TEST_F(PrinterSettingsTest, OneReadServesASecondOfOneThread) {
  spooler_.printers["Labels"] = {"LPT1:", "", {}, {{"dataFile", "abcxy.dat"}}};
  const int& reads = spooler_.orders["printer-get"];
  const unsigned start = 0xfffffe00u;  // the count wraps before the second is over
  platform::SetTickCount(start);
  SetLastError(77);
  const PrinterRegistry first("Labels");
  const int oneRead = reads;
  EXPECT_GT(oneRead, 0);
  spooler_.printers["Labels"].port = "LPT2:";
  platform::SetTickCount(start + 700);
  EXPECT_EQ(PrinterRegistry("Labels").PortName(), OString("LPT1:"));
  EXPECT_EQ(reads, oneRead);
  platform::SetTickCount(start + 2100);
  PrinterInfo info("Labels");
  EXPECT_EQ(info.portName, OString("LPT2:"));
  EXPECT_EQ(info.oemCode, OString("xy"));
  EXPECT_EQ(reads, 2 * oneRead);
  EXPECT_EQ(spooler_.orders["driver-get"], 2) << "the size and the driver, once";

  EXPECT_EQ(GetLastError(), 77u);
  std::thread([] {
    PrinterInfo("Labels").Refresh();
    ThreadLocalSlot::DestroyObjects();
  }).join();
  EXPECT_EQ(reads, 3 * oneRead) << "another thread asks for itself";
  platform::SetTickCount(start + 4200);
  spooler_.printers.clear();
  SetLastError(77);
  info.Refresh();
  EXPECT_EQ(info.portName, OString("LPT2:")) << "what is known stays";
  EXPECT_EQ(GetLastError(), 77u);
}

TEST_F(PrinterSettingsTest, PrintersOfARemoteSession) {
  const struct {
    DWORD major, minor;
    const char *name, *client, *printer;
    bool session;
    const char *expectedServer, *expectedName;
  } rows[] = {
      {10, 0, "a", "LAPTOP", "Zeb", true, "LAPTOP", "Zeb"},
      {10, 0, "b", "LAPTOP", "Zeb", false, "DESK7", "b"},
      {10, 0, "c/LAPTOP/Session 1", "", "Zeb", true, "DESK7", "c/LAPTOP/Session 1"},
      {5, 0, "d/e/LAPTOP/Session 1", "", "Zeb", true, "LAPTOP", "d/e"},
      {5, 0, "/LAPTOP/Session 1", "", "", true, "DESK7", "/LAPTOP/Session 1"},
      {5, 1, "f/LAPTOP/Session 1", "", "", true, "DESK7", "f/LAPTOP/Session 1"},
  };
  for (const auto& row : rows) {
    const OSVERSIONINFOEXW version = {
        sizeof version, row.major, row.minor, 0, VER_PLATFORM_WIN32_NT, {}, 0, 0, 0, 0, 0};
    platform::SetSystemVersion(&version);
    FakeSpooler::Printer& printer = spooler_.printers[row.name];
    printer.port = "TS001";
    if (row.session) printer.data["PrinterDriverData\\TSSessionID"] = {REG_DWORD, std::string("\1\0\0\0", 4)};
    if (*row.client) printer.data["PrinterDriverData\\ClientName"] = {REG_SZ, Text(row.client)};
    if (*row.printer) printer.data["PrinterDriverData\\PrinterName"] = {REG_SZ, Text(row.printer)};
    const PrinterInfo info((OString(row.name)));
    EXPECT_EQ(info.serverName + "|" + info.shortName, OString(row.expectedServer) + "|" + row.expectedName);
    EXPECT_EQ(info.sessionPrinter, info.serverName != OString("DESK7")) << row.name;
    EXPECT_EQ(info.remote, info.sessionPrinter);
  }
  const auto& stored = spooler_.printers["d/e/LAPTOP/Session 1"].data;
  EXPECT_EQ(stored.at("PrinterDriverData\\ClientName"), std::pair(unsigned{REG_SZ}, Text("LAPTOP")));
  EXPECT_EQ(stored.at("PrinterDriverData\\PrinterName"), std::pair(unsigned{REG_SZ}, Text("d/e")));
}

TEST_F(PrinterSettingsTest, ASpoolerThatNeverHasEnoughIsGivenUp) {
  for (const DWORD growth : {0u, 8u}) {
    int calls = 0;
    OBuffer buffer;
    const auto* info = FetchFromSpooler<DWORD>(buffer, [&](LPBYTE, DWORD size, LPDWORD needed) {
      *needed = size + (size == 0 ? 16 : growth);
      if (++calls == 5) return TRUE;
      SetLastError(ERROR_INSUFFICIENT_BUFFER);
      return FALSE;
    });
    EXPECT_EQ(info != nullptr, growth > 0);
    EXPECT_EQ(calls, growth > 0 ? 5 : 2);
  }
}

TEST_F(PrinterSettingsTest, RootsAndPlaceholders) {
  spooler_.printers["50% a/b:c"] = {"IP:1", "", {{"driver", "Thermal/2"}}, {{"dataFile", "abcXY.dat"}}};
  const PrinterRegistry registry("50% a/b:c");
  const std::string machine = "HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Print\\";
  const std::string own = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Corvane\\Drivers\\";
  const struct {
    const char* path;
    std::string native;
  } rows[] = {
      {"STOCK:A", own + "Paper Sizes\\A"},
      {"Settings:Logging", machine + "Printers\\50% a/b:c\\PrinterDriverData\\Settings\\Logging"},
      {"security:x", machine + "Printers\\50% a/b:c\\PrinterDriverData\\Security\\x"},
      {"FONTS:x", machine + "Printers\\50% a/b:c\\PrinterDriverData\\Downloaded Fonts\\x"},
      {"MODEL:[MODEL]", machine + "Printers\\50% a/b:c\\PrinterDriverData\\Model\\Thermal/2"},
      {"UserSettings:x", "HKEY_CURRENT_USER\\SOFTWARE\\Corvane\\Drivers\\Printers\\50% a/b:c\\Settings\\x"},
      {"MONITOR:[OEM]", machine + "Monitors\\Corvane Network Monitor\\xy"},
      {"NETWORK:[PORT]/[port]", own + "Network\\@DESK7\\IP:1\\[port]"},
  };
  for (const auto& row : rows) EXPECT_EQ(registry.NativePath(row.path), OString(row.native)) << row.path;
  EXPECT_TRUE(registry.SetDword("DATA:Monitor/Ports/[PORT]/Known", 5));
  EXPECT_EQ(ORegistry().GetDword("PRINT:Printers/50%% a//b::c/PrinterDriverData/Monitor/Ports/IP::1/Known"), 5u);
}

TEST_F(PrinterSettingsTest, APrinterWithoutANameHasNoKeys) {
  const ORegistry plain;
  EXPECT_TRUE(plain.SetDword("PRINT:Printers/Labels/PrinterDriverData/Settings/x", 1));
  EXPECT_TRUE(plain.SetDword("PRINT:Printers/PrinterDriverData/x", 1));
  const PrinterRegistry unknown("unknown");
  EXPECT_FALSE(unknown.SetDword("Settings:x", 1));
  EXPECT_EQ(unknown.GetDword("DATA:x", 9), 9u);
  EXPECT_FALSE(unknown.Delete("PRINT:Printers/[PRINTER]/PrinterDriverData", true));
  EXPECT_EQ(unknown.NativePath("UserSettings:Status Window"), OString());
  EXPECT_FALSE(unknown.SetBool("NETWORK:TCP Enabled", true));
  EXPECT_FALSE(plain.GetKeyInfo("LOCAL:Network"));
  EXPECT_EQ(unknown.NativePath("LOCAL:A/x[OEM]"), OString("HKEY_LOCAL_MACHINE\\SOFTWARE\\Corvane\\Drivers\\A\\x"));
  EXPECT_EQ(plain.GetDword("PRINT:Printers/Labels/PrinterDriverData/Settings/x"), 1u);
  EXPECT_EQ(plain.GetDword("PRINT:Printers/PrinterDriverData/x"), 1u);
}

TEST_F(PrinterSettingsTest, KeysOfRemotePrintersLieWithTheUser) {
  spooler_.printers["\\\\S/1\\P"] = {"IP_1", "", {{"server", "\\\\S/1"}}};
  PrinterRegistry remote("\\\\S/1\\P");
  const ORegistry plain;
  const OString below("CURRENT_USER:SOFTWARE/Corvane/Drivers/@S%2F1/");
  const struct {
    const char *path, *redirected, *direct;
  } rows[] = {
      {"Settings:v", "PRINT%3A/Printers/P/PrinterDriverData/Settings/v",
       "PRINT:Printers/P/PrinterDriverData/Settings/v"},
      {"NETWORK:v", "LOCAL%3A/Network/@S%2F1/v", "LOCAL:Network/@S%2F1/v"},
      {"local_machine:software/corvane/drivers/v", "LOCAL%3A/v", "LOCAL:v"},
      {"UserSettings:v", "USER%3A/Printers/P/Settings/v", "USER:Printers/P/Settings/v"},
  };
  DWORD number = 0;
  for (const auto& row : rows) {
    EXPECT_TRUE(remote.SetDword(row.path, ++number));
    EXPECT_EQ(plain.GetDword(below + row.redirected), number) << row.path;
    EXPECT_EQ(plain.GetDword(row.direct, 99), 99u) << row.path;
    PrinterRegistry direct(remote);
    EXPECT_EQ(direct.GetDword(row.path), number) << "a copy redirects too";
    direct.SetRedirect(false);
    EXPECT_EQ(direct.GetDword(row.path, 99), 99u);
    EXPECT_TRUE(direct.SetDword(row.path, 50));
    EXPECT_EQ(plain.GetDword(row.direct), 50u) << row.path;
    EXPECT_EQ(remote.GetDword(row.path), number);
  }
  EXPECT_TRUE(remote.SetDword("CONTROL:Other/v", 7));
  EXPECT_EQ(plain.GetDword("CONTROL:Other/v"), 7u) << "the rest of the machine stays where it is";
  EXPECT_TRUE(remote.Delete("PRINT:Printers/[PRINTER]/PrinterDriverData", true));
  EXPECT_EQ(plain.GetDword("PRINT:Printers/P/PrinterDriverData/Settings/v"), 50u);
  EXPECT_EQ(remote.NativePath("NETWORK:"), OString("HKEY_LOCAL_MACHINE\\SOFTWARE\\Corvane\\Drivers\\Network\\@S/1"));
}

TEST_F(PrinterSettingsTest, RedirectedKeysNeverTakeTheMachinesWithThem) {
  spooler_.printers["\\\\S\\P"] = {"IP_1", "", {{"server", "\\\\S"}}};
  PrinterRegistry remote("\\\\S\\P");
  const ORegistry plain;
  const OString below("CURRENT_USER:SOFTWARE/Corvane/Drivers/@S/");
  const struct {
    const char *path, *redirected;
  } rows[] = {
      {"2:System/CurrentControlSet/Control/Print", "PRINT%3A"},
      {"2:SYSTEM/CurrentControlSet/Control/Printing", "PRINT%3Aing"},
      {"2:SOFTWARE/Corvane/Drivers", "LOCAL%3A"},
      {"1:SOFTWARE/Corvane/Drivers", "USER%3A"},
  };
  for (const auto& row : rows) {
    const OString value = OString(row.path) + "/v";
    for (const bool import : {false, true}) {
      EXPECT_TRUE(plain.SetDword(value, 1));
      EXPECT_TRUE(remote.SetDword(OString(row.path) + "/below/v", 2));
      OStringArray lines;
      lines.Append(OString("[-") + InternalToNative(row.path) + "]");
      EXPECT_TRUE(import ? remote.Import(lines) : remote.Delete(row.path, true)) << row.path;
      EXPECT_EQ(plain.GetDword(value), 1u) << row.path;
      EXPECT_FALSE(plain.GetKeyInfo(below + row.redirected)) << row.path;
    }
    remote.SetRedirect(false);
    const bool isLeaf = row.path[0] == '2';  // where the redirected keys lie is no leaf
    EXPECT_EQ(remote.Delete(row.path), isLeaf) << row.path;
    EXPECT_EQ(plain.GetDword(value), isLeaf ? 0u : 1u) << row.path;
    remote.SetRedirect(true);
  }
}

TEST_F(PrinterSettingsTest, OdometerKeepsBothTotalsOrNone) {
  auto& data = spooler_.printers["Labels"].data;
  HANDLE printer = nullptr;
  ASSERT_TRUE(OpenPrinterW(WideString(TEXT("Labels")).data(), &printer, nullptr));
  Odometer odometer;
  odometer.Add(3, 1016);
  EXPECT_DOUBLE_EQ(odometer.Distance(), 304.8);
  odometer.Add(4000000000u, 4000000000u);
  EXPECT_DOUBLE_EQ(odometer.Distance(), 1.6e18 + 304.8);
  EXPECT_TRUE(odometer.Save(printer));
  EXPECT_EQ(data["Meterbank\\Odometer Pages"], std::pair(unsigned{REG_DWORD}, std::string("\x03\x28\x6b\xee")));
  EXPECT_EQ(data["Meterbank\\Odometer Distance"].first, unsigned{REG_BINARY});
  Odometer other;
  EXPECT_TRUE(other.Load(printer));
  EXPECT_EQ(other.Pages(), 4000000003u);
  EXPECT_DOUBLE_EQ(other.Distance(), odometer.Distance());

  data["Meterbank\\Odometer Pages"].second[0] = 9;
  for (const std::string& distance : {std::string(4, 'x'), std::string(9, 'x')}) {
    data["Meterbank\\Odometer Distance"].second = distance;
    EXPECT_FALSE(other.Load(printer));
  }
  data.erase("Meterbank\\Odometer Distance");
  EXPECT_FALSE(other.Load(printer));
  EXPECT_EQ(other.Pages(), 4000000003u) << "the pages alone count for nothing";
  ClosePrinter(printer);
  EXPECT_FALSE(odometer.Save(printer));
}

}  // namespace
}  // namespace portwise
