#include <gmock/gmock.h>

#include <cstring>
#include <set>

#include "core/thread_local_singleton.h"
#include "settings/driver_settings.h"
#include "settings/odometer.h"
#include "settings/printer_info.h"
#include "tests/support/last_error.h"
#include "tests/support/print_ostring.h"
#include "tests/support/spooler_home.h"

namespace portwise::test {
namespace {

using Json = nlohmann::json;

class SettingsSystem : public testing::Test {
 protected:
  SettingsSystem() { EXPECT_TRUE(home_.Start("dock", {"Labels"})) << home_.Errors(); }
  ~SettingsSystem() override { ThreadLocalSlot::DestroyObjects(); }

  SpoolerHome home_;
};

TEST_F(SettingsSystem, TheCommandLineFillsWhatTheMonitorReads) {
  ExpectRun(
      "printer set Labels --driver 'C:\\d\\therm.dll' --driver-name Thermal --data-file ABCxy.dat --share Anteil"
      " --comment 'Lager ü' --location Halle --attributes bidi,local --data 'ClientName=LAPTOP'"
      " --data 'Meterbank/Odometer Pages:dword=12' --data 'Meterbank/Odometer Distance:binary=0000000000001440'",
      0, "");
  const PrinterInfo info("labels");
  EXPECT_EQ(info.printerName + "|" + info.driverName + "|" + info.driverFolder + "|" + info.oemCode + "|" +
                info.comment + "|" + info.printProcessor,
            OString("Labels|Thermal|C:\\d|xy|Lager ü|winprint", kCodePageUtf8));
  EXPECT_EQ(info.attributes, PRINTER_ATTRIBUTE_ENABLE_BIDI | PRINTER_ATTRIBUTE_LOCAL | PRINTER_ATTRIBUTE_SHARED);
  EXPECT_FALSE(info.remote);

  const unique_printer user = OpenPrinterOf(u"Labels", PRINTER_ACCESS_USE);
  const unique_printer administrator = OpenPrinterOf(u"Labels", PRINTER_ALL_ACCESS);
  Odometer odometer;
  EXPECT_TRUE(odometer.Load(user.Get()) && odometer.Pages() == 12 && odometer.Distance() == 5.0);
  odometer.Add(1, 10);
  EXPECT_FALSE(odometer.Save(user.Get()));
  EXPECT_TRUE(odometer.Save(administrator.Get()));
  ExpectRun("printer show Labels", 0, "Meterbank/Odometer Pages = 13");
  ExpectRun("printer show Labels", 0, "PrinterDriverData/ClientName = LAPTOP");
  ExpectRun("printer show labels --json", 0, "\"dataFile\": \"C:\\\\Windows\\\\System32\\\\spool\\\\drivers");
  ExpectRun("printer set Labels --remove-data ClientName");
  ExpectRun("printer set Labels --remove-data ClientName", 1, "has no data");

  const std::pair<std::string, const char*> wrong[] = {
      {"--attributes bidi,quiet", "there is no attribute quiet; they are queued,"},
      {"--attributes 0x1ffffffff", "not a number of 32 bits"},
      {"--share '' --attributes shared", "--share"},
      {"--driver-name None", "there is no driver None"},
      {"--server 'a,b'", "server name holds"},
      {"--data Value", "[KEY/]VALUE"},
      {"--comment lost --data 'a:dword=x'", "x is not a number"},
      {"--data 'A//c=1'", "[KEY/]VALUE"},
      {"--data '/A/c=1'", "[KEY/]VALUE"},
      {"--data 'A/B/=1'", "[KEY/]VALUE"},
      {"--data 'A\\\\B/c=1'", "[KEY/]VALUE"},
  };
  for (const auto& [arguments, told] : wrong) ExpectRun("printer set Labels " + arguments, 1, told);
  ExpectRun("printer add Extra --port dock --data 'a//b=1'", 1, "[KEY/]VALUE");
  ExpectRun("printer show Extra", 1, "Extra");
  ExpectRun("printer show Labels", 0, "comment:     Lager ü\n");
}

TEST_F(SettingsSystem, SettingsAreTypedByTheCatalogue) {
  ExpectRun(
      "printer add Thermal --port dock --driver /d/therm.dll --data-file ABCxy.dat --setting 'status/verify job "
      "COMPLETE=On' --setting 'Settings:Status/Status Monitoring Mode=03' --setting 'Logging/Directory=/l/ä=b' "
      "--setting 'Status/Send Timeout=4294967295' --setting 'Status/Show Icon=true'",
      0, "");
  const PrinterRegistry registry("Thermal");
  DriverSettings settings;
  settings.Init(registry);
  EXPECT_TRUE(settings.GetVerifyJobComplete());
  EXPECT_EQ(settings.GetStatusMonitoringMode(), 3);
  EXPECT_EQ(settings.GetRecordingDirectory(), OString("/l/ä=b", kCodePageUtf8));
  EXPECT_EQ(settings.GetSendTimeout(), 4294967295u);
  EXPECT_EQ(PrinterInfo("Thermal").attributes, PRINTER_ATTRIBUTE_LOCAL | PRINTER_ATTRIBUTE_ENABLE_BIDI);
  ExpectRun("printer add Plain --port dock --driver-name therm --attributes local");
  EXPECT_EQ(PrinterInfo("Plain").attributes, DWORD{PRINTER_ATTRIBUTE_LOCAL});
  // Four bytes are no bool, and count as the default.
  ExpectRun("printer set Thermal --data 'PrinterDriverData/Settings/Status/Verify Page Complete:dword=1'");
  const auto shown = Json::parse(RunProgram("portwise printer show Thermal --json").output)["settings"];
  EXPECT_EQ(shown, Json::parse(R"({"Logging/Directory": "/l/ä=b", "Status/Send Timeout": 4294967295,
                                   "Status/Status Monitoring Mode": 3, "Status/Verify Job Complete": true})"));
  ExpectRun("printer show Thermal", 0, "setting:     Status/Verify Job Complete = true\n");
  ExpectRun("printer show Thermal", 0, "data:        PrinterDriverData/Settings/Status/Verify Page Complete = 1\n");
  ExpectRun("printer set Thermal --setting 'Status/Show Icon=false'");
  ExpectRun("printer show Thermal", 0, "Status/Show Icon = false\n");
  ExpectRun("printer set Thermal --default-setting 'Status/Send Timeout'");
  ExpectRun("printer set Thermal --default-setting 'Status/Send Timeout'", 1, "has its default already");

  const std::pair<std::string, const char*> wrong[] = {
      {"Status/Sned Timeout=1", "the nearest are \"Status/Send Timeout\", "},
      {"Logging=1", "there is no setting \"Logging\""},
      {"=1", "there is no setting \"\""},
      {"Status/Show Icon", "PATH=VALUE"},
      {"Status/Show Icon=", "cannot be \"\"; it is true or false"},
      {"Status/Status Monitoring Mode=4", "cannot be \"4\"; it is a number from 0 to 3\n"},
      {"Status/Send Timeout=4294967296", "it is a number from 0 to 4294967295 ms"},
      {"Status/Send Timeout=-1", "it is a number from 0"},
      {"Status/Send Timeout=1s", "it is a number from 0"},
  };
  for (const auto& [setting, told] : wrong)
    ExpectRun("printer set Thermal --comment lost --setting '" + setting + "'", 1, told);
  ExpectRun("printer show Thermal", 0, "comment:\n");
}

TEST_F(SettingsSystem, PrintersOfOtherComputers) {
  ExpectRun(R"(port add '\\FILES\Q' --file /dev/null)");
  ExpectRun(R"(printer add '\\SRV\Far 1' --port dock)");
  ExpectRun(R"(printer add Share --port '\\files\Q')");
  ExpectRun("printer set Labels --server SRV");
  for (const char* bad : {R"('\\SRV')", R"('\\SRV\')", R"('\\\P')", R"('\\SRV\a\b')", R"('a\b')", "a,b"})
    ExpectRun(std::string("printer add ") + bad + " --port dock", 1, "name");
  const struct {
    const char *name, *server, *shortName;
  } rows[] = {{R"(\\srv\FAR 1)", "SRV", "Far 1"}, {"share", "FILES", "Share"}, {"Labels", "SRV", "Labels"}};
  for (const auto& row : rows) {
    const PrinterInfo info((OString(row.name)));
    EXPECT_TRUE(info.remote && info.serverName == row.server && info.shortName == row.shortName) << row.name;
  }
  const unsigned job = Submit("Share", "label");
  EXPECT_TRUE(Eventually([&] { return Gone(job, "printed"); })) << GetJob(job);

  auto names = [](DWORD flags) {
    std::set<OString> found;
    BYTE buffer[4096];
    DWORD needed = 0, count = 0;
    EXPECT_TRUE(EnumPrintersW(flags, nullptr, 4, buffer, sizeof buffer, &needed, &count));
    for (DWORD i = 0; i < count; ++i) found.insert(reinterpret_cast<PRINTER_INFO_4W*>(buffer)[i].pPrinterName);
    return found;
  };
  EXPECT_EQ(names(PRINTER_ENUM_LOCAL), (std::set<OString>{"Labels", "Share"}));
  EXPECT_EQ(names(PRINTER_ENUM_CONNECTIONS), (std::set<OString>{"\\\\SRV\\Far 1"}));
  EXPECT_EQ(names(PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS).size(), 3u);
  ExpectRun(R"(printer remove '\\SRV\Far 1')");
  EXPECT_EQ(names(PRINTER_ENUM_CONNECTIONS).size(), 0u);
}

TEST_F(SettingsSystem, PrintersAreReadAndChangedThroughTheSpooler) {
  const unique_printer printer = OpenPrinterOf(u"labels", PRINTER_ALL_ACCESS);
  BYTE buffer[4096];
  DWORD needed = 0;
  ASSERT_TRUE(GetPrinterW(printer.Get(), 2, buffer, sizeof buffer, &needed));
  auto info = *reinterpret_cast<PRINTER_INFO_2W*>(buffer);
  EXPECT_TRUE(!info.pDevMode && !info.pServerName);
  struct {
    DEVMODEW mode{};
    BYTE extra[4]{1, 2, 3, 4};
  } device;
  device.mode.dmSize = sizeof device.mode;
  device.mode.dmDriverExtra = sizeof device.extra;
  info.pDevMode = &device.mode;
  std::u16string comment = u"status;\u00a0mine";
  info.pComment = comment.data();
  EXPECT_TRUE(SetPrinterW(printer.Get(), 2, reinterpret_cast<LPBYTE>(&info), 0));
  EXPECT_FALSE(GetPrinterW(printer.Get(), 2, nullptr, 0, &needed));
  ASSERT_TRUE(GetPrinterW(printer.Get(), 2, buffer, needed, &needed));
  const auto& changed = *reinterpret_cast<PRINTER_INFO_2W*>(buffer);
  ASSERT_NE(changed.pDevMode, nullptr);
  EXPECT_EQ(std::memcmp(changed.pDevMode, &device, sizeof device.mode + sizeof device.extra), 0);
  ASSERT_TRUE(GetPrinterW(printer.Get(), 1, buffer, sizeof buffer, &needed));
  EXPECT_EQ(std::u16string(reinterpret_cast<PRINTER_INFO_1W*>(buffer)->pDescription),
            u"Labels,Label printer," + comment);

  EXPECT_EQ(ErrorOf(GetPrinterDriverW(printer.Get(), nullptr, 6, nullptr, 0, &needed)), ERROR_UNKNOWN_PRINTER_DRIVER);
  BYTE data[8] = "1234567";
  DWORD type = 0;
  const auto get = [&] { return GetPrinterDataExW(printer.Get(), TEXT("a\\b"), TEXT("V:/"), &type, data, 8, &needed); };
  EXPECT_EQ(SetPrinterDataExW(printer.Get(), TEXT("A\\B"), TEXT("v:/"), 77, data, 8), DWORD{ERROR_SUCCESS});
  EXPECT_TRUE(get() == ERROR_SUCCESS && type == 77 && needed == 8);
  EXPECT_EQ(DeletePrinterDataExW(printer.Get(), TEXT("A\\B"), TEXT("v:/")), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(get(), DWORD{ERROR_FILE_NOT_FOUND});
  for (LPCWSTR key : {TEXT(""), TEXT("\\"), TEXT("A\\\\B"), TEXT("A\\")})
    EXPECT_EQ(SetPrinterDataExW(printer.Get(), key, TEXT("Port"), REG_SZ, data, 8), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(SetPrinterDataExW(nullptr, TEXT("A"), TEXT("v"), REG_SZ, data, 8), DWORD{ERROR_INVALID_HANDLE});
}

}  // namespace
}  // namespace portwise::test
