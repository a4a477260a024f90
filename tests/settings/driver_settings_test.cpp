#include "settings/driver_settings.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "core/thread_local_singleton.h"
#include "tests/support/fake_spooler.h"
#include "tests/support/print_ostring.h"
#include "tests/support/temporary_home.h"

namespace portwise {
namespace {

class DriverSettingsTest : public testing::Test {
 protected:
  DriverSettingsTest() : registry_(Labels(&spooler_)) { settings_.Init(registry_); }
  ~DriverSettingsTest() override { ThreadLocalSlot::DestroyObjects(); }

  static OString Labels(FakeSpooler* spooler) {
    spooler->printers["Labels"] = {"LPT1:", ""};
    return "Labels";
  }

  TemporaryHome home_;
  FakeSpooler spooler_;
  PrinterRegistry registry_;
  DriverSettings settings_;
};

TEST_F(DriverSettingsTest, DefaultsAndStoredValues) {
  EXPECT_FALSE(settings_.GetOverwriteFiles() || settings_.GetPrintCodeRecording());
  EXPECT_TRUE(settings_.GetRecordingDirectory().IsEmpty());
  EXPECT_TRUE(settings_.GetShowOnError() && settings_.GetShowIcon());
  EXPECT_EQ(settings_.GetActivePollingInterval(), 1000u);
  EXPECT_FALSE(settings_.IsStatusMonitoringEnabled());

  registry_.SetBool("Settings:Logging/Overwrite Files", true);
  registry_.SetString("Settings:Logging/Directory", "C:\\Logs");
  registry_.SetBool("Settings:Status/Show Icon", false);
  registry_.SetDword("Settings:Status/Send Timeout", 0xfffffffeu);
  registry_.SetDword("Settings:Status/Idle Polling Interval", 0);
  registry_.SetBool("Settings:Status/Response Timeout", true);  // of another length than a number
  EXPECT_FALSE(settings_.GetOverwriteFiles()) << "missing once is missing until Init";
  settings_.Init(registry_);
  EXPECT_TRUE(settings_.GetOverwriteFiles());
  EXPECT_EQ(settings_.GetRecordingDirectory(), OString("C:\\Logs"));
  EXPECT_FALSE(settings_.GetShowIcon());
  EXPECT_EQ(settings_.GetSendTimeout(), 0xfffffffeu);
  EXPECT_EQ(settings_.GetIdlePollingInterval(), 0u);
  EXPECT_EQ(settings_.GetResponseTimeout(), 30000u);
  EXPECT_TRUE(registry_.Delete("DATA:Settings", true));
  EXPECT_TRUE(settings_.GetOverwriteFiles()) << "the registry is not asked again";
  settings_.Init(registry_);
  EXPECT_FALSE(settings_.GetOverwriteFiles());
}

TEST_F(DriverSettingsTest, MonitoringModeRulesTheRest) {
  const struct {
    DWORD stored;
    LONG defaultMode, mode;
  } rows[] = {{3, 1, 3}, {7, 2, 2}, {4, 0, 0}, {0, 3, 0}, {0xffffffffu, 1, 1}};
  for (const char* name : {"Verify Job Complete", "Verify Page Complete", "Advanced Status Comment"}) {
    registry_.SetBool(OString("Settings:Status/") + name, true);
  }
  for (const auto& row : rows) {
    registry_.SetDword("Settings:Status/Status Monitoring Mode", row.stored);
    settings_.SetDefaultMonitoringMode(row.defaultMode);
    settings_.Init(registry_);
    EXPECT_EQ(settings_.GetStatusMonitoringMode(), row.mode) << row.stored;
    EXPECT_EQ(settings_.GetVerifyJobComplete() && settings_.GetVerifyPageComplete(), row.mode != 0);
    EXPECT_EQ(settings_.GetAdvancedStatusComment(), row.mode != 0);
  }
  registry_.Delete("Settings:Status/Status Monitoring Mode");
  settings_.SetDefaultMonitoringMode(2);
  settings_.Init(registry_);
  EXPECT_EQ(settings_.GetStatusMonitoringMode(), 2);
}

TEST_F(DriverSettingsTest, WhatIsSetInMemoryHoldsUntilInit) {
  registry_.SetDword("Settings:Status/Status Monitoring Mode", 2);
  registry_.SetBool("Settings:Status/Verify Job Complete", true);
  settings_.ApplyBidirectional(true);
  EXPECT_TRUE(settings_.GetVerifyJobComplete());
  settings_.ApplyBidirectional(false);
  EXPECT_EQ(settings_.GetStatusMonitoringMode(), 0);
  settings_.SetStatusMonitoringMode(1);
  EXPECT_FALSE(settings_.GetVerifyJobComplete() || settings_.GetVerifyPageComplete());
  settings_.SetVerifyPageComplete(true);
  EXPECT_TRUE(settings_.GetVerifyPageComplete());
  EXPECT_FALSE(registry_.GetValueInfo("Settings:Status/Verify Page Complete"));
  settings_.Init(registry_);
  EXPECT_EQ(settings_.GetStatusMonitoringMode(), 2);
  EXPECT_TRUE(settings_.GetVerifyJobComplete());

  // One entry may be read as other types; a text that is empty is no number.
  DriverSettingsCore& core = settings_.Core();
  registry_.SetString("Settings:Own/Text", "12");
  EXPECT_EQ(core.GetString(OString("Own/Text"), "none"), OString("12"));
  EXPECT_EQ(core.GetDword(OString("Own/Text"), 5), 12u);
  core.SetBool(OString("Own/Text"), false);
  EXPECT_EQ(core.GetString(OString("Own/Text"), "none"), OString("0"));
  EXPECT_EQ(core.GetString(OString("Own/Missing"), OString()), OString());
  EXPECT_EQ(core.GetDword(OString("Own/Missing"), 5), 5u);
  EXPECT_EQ(DriverSettings().GetSendTimeout(), 30000u) << "before the first Init";
}

TEST_F(DriverSettingsTest, ThreadsShareOneCache) {
  registry_.SetDword("Settings:Status/Send Timeout", 1);
  std::atomic<bool> done = false;
  std::atomic<int> wrong = 0;
  std::vector<std::thread> readers;
  for (int reader = 0; reader < 2; ++reader) {
    readers.emplace_back([&] {
      for (DWORD last = 0; !done;) {
        const DWORD now = settings_.GetSendTimeout();
        const DWORD idle = settings_.GetIdlePollingInterval();
        if (now < last || (idle != 5000 && idle != 1)) ++wrong;
        last = now;
      }
    });
  }
  for (DWORD round = 2; round < 200; ++round) {
    registry_.SetDword("Settings:Status/Send Timeout", round);
    if (round % 2) settings_.Core().SetDword(OString("Status/Idle Polling Interval"), 1);
    settings_.Init(registry_);
    EXPECT_EQ(settings_.GetSendTimeout(), round);
  }
  done = true;
  for (std::thread& reader : readers) reader.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace portwise
