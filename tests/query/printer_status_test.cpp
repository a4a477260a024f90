#include "query/printer_status.h"

#include <gtest/gtest.h>
#include <windows.h>
#include <winspool.h>

#include <filesystem>
#include <thread>

#include "locale/pm_locale.h"
#include "platform/home.h"
#include "platform/kernel/modules.h"
#include "tests/support/temporary_home.h"

namespace portwise {
namespace {

using Codes = std::vector<DWORD>;

PrinterStatus StatusOf(const Codes& codes) {
  PrinterStatus status(codes.front());
  for (size_t i = 1; i < codes.size(); ++i) status.Add(codes[i]);
  return status;
}

TEST(PrinterStatus, JoinsTheTextsOfItsCodes) {
  pmLocale english("enu");
  constexpr DWORD kCommas = PrinterStatus::kCommas, kDashes = PrinterStatus::kDashes;
  constexpr DWORD kWithout = PrinterStatus::kWithoutSpoolerFlags;
  const struct {
    Codes codes;
    DWORD options;
    const char* text;
  } rows[] = {
      {{0x20001, 0x10031}, kCommas, "Ribbon Low, Paper Jam"},
      {{0x20001, 0x10031}, kCommas | kDashes, "Ribbon Low - Paper Jam"},
      {{0x20001, 0x10031}, kCommas | kWithout, "Ribbon Low"},
      {{1, 4, 0x10100, 0x10042}, kDashes | kWithout, "Printer Paused - I/O Error"},
      {{0, 7, 8, 7, 0x30000, 0xC1000000, 9, 0}, kCommas, "Label Present, Power Off"},
      {{0xA1000123}, kCommas, "Printer Error [291]"},
      {{0xA2FFFFFF}, kCommas, "Printer Warning [16777215]"},
      {{0xB2001234, 0xB2FFABCD, 0xB1000007},
       kCommas,
       "Printer Warning [1234], Printer Warning [ABCD], Printer Error [0007]"},
      {{0xA3000001, 0xB0000001}, kCommas, ""},
  };
  for (const auto& row : rows) EXPECT_EQ(StatusOf(row.codes).Text(english, row.options), row.text);
}

TEST(PrinterStatus, DerivesWhatOthersAreTold) {
  const struct {
    Codes codes;
    Severity severity;
    DWORD spooler, job, error, flags2;
  } rows[] = {
      {{0}, Severity::Normal, 0, JOB_STATUS_PRINTING, 0, 0},
      {{7, 9}, Severity::Normal, 0, JOB_STATUS_PRINTING, 0, 0},
      {{5}, Severity::Error, PRINTER_STATUS_OFFLINE, JOB_STATUS_OFFLINE, ERROR_NOT_READY, 0},
      {{4, 8}, Severity::Normal, PRINTER_STATUS_USER_INTERVENTION, JOB_STATUS_PRINTING, 0, 3},
      {{10, 11}, Severity::Warning, 0, JOB_STATUS_PRINTING, 0, 0xC},
      {{0x20001, 0x10031, 0x20000}, Severity::Error, PRINTER_STATUS_PAPER_JAM, JOB_STATUS_ERROR, 0, 0x90},
      {{0x10031, 0x20001}, Severity::Error, PRINTER_STATUS_PAPER_JAM, JOB_STATUS_ERROR, ERROR_NOT_READY, 0x10},
      {{0x10013}, Severity::Error, PRINTER_STATUS_WARMING_UP, JOB_STATUS_PRINTING, ERROR_NOT_READY, 0},
      {{0x10001}, Severity::Error, PRINTER_STATUS_PAPER_OUT, JOB_STATUS_PAPEROUT, ERROR_OUT_OF_PAPER, 0},
      {{0x10011, 0x10012},
       Severity::Error,
       PRINTER_STATUS_DOOR_OPEN | PRINTER_STATUS_USER_INTERVENTION,
       JOB_STATUS_ERROR,
       ERROR_DEVICE_DOOR_OPEN,
       0x100},
      {{0x10100, 5},
       Severity::Error,
       PRINTER_STATUS_NOT_AVAILABLE | PRINTER_STATUS_OFFLINE,
       JOB_STATUS_ERROR | JOB_STATUS_OFFLINE,
       ERROR_IO_DEVICE,
       0},
      {{0x40001}, Severity::Normal, 0, JOB_STATUS_PRINTING, ERROR_INTERNAL_ERROR, 0},
      // Codes of no table: the ends of the ranges, and those of the printers.
      {{0x1FFFF}, Severity::Error, PRINTER_STATUS_USER_INTERVENTION, JOB_STATUS_ERROR, ERROR_NOT_READY, 0},
      {{0x2FFFF}, Severity::Warning, 0, JOB_STATUS_PRINTING, 0, 0},
      {{0xFFFF, 0x30000, 0x10010000}, Severity::Normal, 0, JOB_STATUS_PRINTING, 0, 0},
      {{0x1000FFFF}, Severity::Error, PRINTER_STATUS_USER_INTERVENTION, JOB_STATUS_ERROR, ERROR_NOT_READY, 0},
      {{0x21000000}, Severity::Error, PRINTER_STATUS_USER_INTERVENTION, JOB_STATUS_ERROR, ERROR_NOT_READY, 0},
      {{0xB2000001}, Severity::Warning, 0, JOB_STATUS_PRINTING, 0, 0},
  };
  for (const auto& row : rows) {
    const PrinterStatus status = StatusOf(row.codes);
    EXPECT_EQ((Codes{static_cast<DWORD>(status.Severity()), status.SpoolerFlags(), status.JobFlags(),
                     status.ErrorCode(), status.Flags2()}),
              (Codes{static_cast<DWORD>(row.severity), row.spooler, row.job, row.error, row.flags2}))
        << std::hex << row.codes[0];
  }
  EXPECT_TRUE(PrinterStatus(13).IsBusy() && PrinterStatus(8).IsWaiting() && PrinterStatus(5).IsOffline());
  EXPECT_FALSE(StatusOf({2, 1}) == StatusOf({1, 2})) << "the order counts";
}

TEST(PrinterStatus, EveryCodeThatHasATextHasItInEveryLanguage) {
  const TemporaryHome home;
  WCHAR folder[MAX_PATH];
  GetSystemDirectoryW(folder, MAX_PATH);
  std::filesystem::copy(std::string(platform::LibraryFolder()) + "/portwise.ddz", platform::LinuxPath(folder));
  pmLocale english("enu"), german("deu"), japanese("jpn");
  Codes codes{0xA1000000, 0xA2000000, 0xB1000000, 0xB2000000};
  for (const StatusCodeRow& row : StatusCodes()) {
    // The monitor's own faults are told to nobody who reads.
    EXPECT_EQ(row.text == 0, row.code >> 16 == 4) << std::hex << row.code;
    if (row.text != 0) codes.push_back(row.code);
  }
  for (const DWORD code : codes) {
    const PrinterStatus status(code);
    const OString text = status.Text(english, 0);
    EXPECT_FALSE(text.IsEmpty()) << std::hex << code;
    EXPECT_NE(status.Text(japanese, 0), text) << std::hex << code;
    EXPECT_FALSE(status.Text(german, 0).IsEmpty()) << std::hex << code;
  }
  EXPECT_EQ(StatusOf({4, 0xA1000009}).Text(german, 1), "Drucker angehalten, Druckerfehler [9]");
}

TEST(PrinterStatus, CopiesAndComparisonsCrossWithoutALockUp) {
  PrinterStatus one(1), other = StatusOf({2, 3});
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&, i] {
      for (int round = 0; round < 3000; ++round) {
        (i % 2 ? one : other) = i % 2 ? other : one;
        if (one == other) one.Add(static_cast<DWORD>(round));
        if (one.Codes().Size() > 8) one.Set(1);
        EXPECT_NE(one.JobFlags(), 0u);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  one = *&one;
  EXPECT_TRUE(one == one);
}

}  // namespace
}  // namespace portwise
