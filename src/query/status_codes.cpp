#include "query/status_codes.h"

#include <winspool.h>

#include <algorithm>
#include <iterator>

namespace portwise {
namespace {

/// What the spooler is told of errors that it has no flag for.
constexpr DWORD kAttention = PRINTER_STATUS_USER_INTERVENTION;

constexpr bool IsIn(DWORD code, DWORD first, DWORD last) { return first <= code && code <= last; }

/// The severity that the ranges of codes stand for. Bits 24 to 27 tell it of the codes that a printer makes up.
constexpr Severity SeverityByRange(DWORD code) {
  if (code == kStatusOffline) return Severity::Error;
  if (code == 10 || code == 11) return Severity::Warning;
  if (IsIn(code, 0, 0xFFFF)) return Severity::Normal;
  if (IsIn(code, 0x10000, 0x1FFFF)) return Severity::Error;
  if (IsIn(code, 0x20000, 0x2FFFF)) return Severity::Warning;
  const DWORD printers = code >> 24 & 0xF;
  if (printers == 1) return Severity::Error;
  if (printers == 2) return Severity::Warning;
  return IsIn(code, 0x10000000, 0x1000FFFF) ? Severity::Error : Severity::Normal;
}

using enum Severity;
constexpr StatusCodeRow kRows[] = {
    // code, text, severity, printer flag, job flag, error; where they are not 0: bit of flags 2, spooler shows
    {1, 14000, Normal, 0, JOB_STATUS_PRINTING, 0, 0, true},                                   // Ready
    {2, 14001, Normal, PRINTER_STATUS_PROCESSING, JOB_STATUS_PRINTING, 0, 0, true},           // Processing
    {3, 14002, Normal, PRINTER_STATUS_PRINTING, JOB_STATUS_PRINTING, 0, 0, true},             // Printing
    {4, 14003, Normal, kAttention, JOB_STATUS_PRINTING, 0, 0x2},                              // Printer Paused
    {5, 14004, Error, PRINTER_STATUS_OFFLINE, JOB_STATUS_OFFLINE, ERROR_NOT_READY, 0, true},  // Offline
    {6, 14005, Normal, PRINTER_STATUS_INITIALIZING, JOB_STATUS_PRINTING, 0, 0, true},         // Initializing
    {8, 14057, Normal, 0, JOB_STATUS_PRINTING, 0, 0x1},                                       // Label Present
    {9, 14063, Normal, 0, 0, 0},                                                              // Power Off
    {10, 14060, Warning, 0, JOB_STATUS_PRINTING, 0, 0x4},                                     // Battery Low
    {11, 14064, Warning, 0, JOB_STATUS_PRINTING, 0, 0x8},                                     // Battery Charging
    {12, 14066, Normal, PRINTER_STATUS_BUSY, JOB_STATUS_PRINTING, 0, 0, true},                // Busy
    {13, 14035, Normal, 0, JOB_STATUS_PRINTING, 0},                                           // Feeding
    {0x10000, 14006, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},                   // Out of Media
    {0x10001, 14007, Error, PRINTER_STATUS_PAPER_OUT, JOB_STATUS_PAPEROUT, ERROR_OUT_OF_PAPER, 0, true},  // No Paper
    {0x10002, 14008, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY, 0x20},                  // Out of Ribbon
    {0x10003, 14009, Error, PRINTER_STATUS_NO_TONER, JOB_STATUS_ERROR, ERROR_NOT_READY, 0, true},  // Out of Toner
    {0x10004, 14010, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},                        // Out of Ink
    {0x10005, 14011, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},                        // Out of Dye
    {0x10010, 14012, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},                        // Not Ready
    {0x10011, 14013, Error, PRINTER_STATUS_DOOR_OPEN, JOB_STATUS_ERROR, ERROR_DEVICE_DOOR_OPEN, 0, true},  // Door Open
    {0x10012, 14014, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY, 0x100},                         // Head Open
    {0x10013, 14034, Error, PRINTER_STATUS_WARMING_UP, JOB_STATUS_PRINTING, ERROR_NOT_READY, 0, true},     // Warming Up
    {0x10014, 14029, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},    // ASF Power Off
    {0x10015, 14036, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},    // ASF Not Connected
    {0x10016, 14033, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},    // ASF Cover Open
    {0x10017, 14032, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},    // Eraser Cover Open
    {0x10018, 14096, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},    // Paper Load Error
    {0x10019, 14104, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},    // Cover Open
    {0x10020, 14015, Error, kAttention, JOB_STATUS_ERROR, ERROR_BAD_COMMAND},  // Command Error
    {0x10021, 14016, Error, PRINTER_STATUS_OUT_OF_MEMORY, JOB_STATUS_ERROR, ERROR_NOT_READY, 0, true},  // Out of Memory
    {0x10022, 14017, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // File Not Found
    {0x10023, 14053, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Memory Error
    {0x10024, 14058, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Receive Buffer Full
    {0x10025, 14068, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Memory Card Error
    {0x10026, 14069, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Memory Card Full
    {0x10027, 14078, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // ROM Error
    {0x10028, 14085, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Memory Write Error
    {0x10029, 14097, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Print Length Error
    {0x1002A, 14105, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Duplicate File Name
    {0x1002B, 14108, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Memory Read/Write Error
    {0x10030, 14018, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Hardware Error
    {0x10031, 14019, Error, PRINTER_STATUS_PAPER_JAM, JOB_STATUS_ERROR, ERROR_NOT_READY, 0, true},  // Paper Jam
    {0x10032, 14080, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},                         // Rewinder Full
    {0x10033, 14062, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY, 0x400},                  // Cutter Error
    {0x10034, 14022, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY, 0x40},                   // Ribbon Error
    {0x10035, 14023, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},                         // Sensor Error
    {0x10036, 14024, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY, 0x200},                  // Head Error
    {0x10037, 14025, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Head Temperature Error
    {0x10038, 14054, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Excessive Media Feeding
    {0x10039, 14055, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Head Temperature Low
    {0x1003A, 14056, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Head Temperature High
    {0x1003B, 14059, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Media Error
    {0x1003C, 14061, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Applicator Error
    {0x1003D, 14077, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // RTC Error
    {0x1003E, 14065, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Power Supply Error
    {0x1003F, 14030, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // U/D Motor Error
    {0x10040, 14031, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Eraser Error
    {0x10041, 14037, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Head Cooling
    {0x10042, 14020, Error, PRINTER_STATUS_OUTPUT_BIN_FULL, JOB_STATUS_ERROR, ERROR_NOT_READY, 0, true},  // Output Full
    {0x10043, 14079, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Motor Temperature High
    {0x10044, 14089, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Ambient Temperature Error
    {0x10045, 14082, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Battery Temperature Error
    {0x10046, 14081, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Battery Temperature High
    {0x10047, 14060, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Battery Low
    {0x10048, 14084, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Charge Error
    {0x10049, 14090, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Reject Jam
    {0x1004A, 14091, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Reject Full
    {0x1004B, 14092, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Reject Error
    {0x1004C, 14093, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Shutter Error
    {0x1004D, 14083, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Battery Warning
    {0x1004E, 14086, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Head Temperature Warning
    {0x1004F, 14088, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Motor Temperature Warning
    {0x10050, 14103, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // CAM Motor Jam Error
    {0x10051, 14109, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Black Mark Detection Error
    {0x10052, 14110, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Gap Detection Error
    {0x10053, 14111, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Perforation Detection Error
    {0x10060, 14051, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // RFID Error
    {0x10061, 14052, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // RFID Write Error
    {0x10062, 14087, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // RFID Setting Error
    {0x10070, 14120, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Smart Card Error
    {0x10071, 14121, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Smart Card Not At Card Reader Station
    {0x10072, 14122, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Smart Card Eject Error
    {0x10073, 14123, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Smart Card Reader Error
    {0x10074, 14124, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Smart Card Connection Error
    {0x10075, 14125, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Smart Card Load Key Error
    {0x10076, 14126, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Smart Card Authentication Error
    {0x10077, 14127, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Smart Card PIN Verification Error
    {0x10078, 14128, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Smart Card Security Settings
    {0x10079, 14129, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Smart Card Read Error
    {0x1007A, 14130, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Smart Card Write Error
    {0x1007B, 14131, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // No Smart Card Reader
    {0x10080, 14094, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Bluetooth Error
    {0x10081, 14095, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Bluetooth Setting Error
    {0x10100, 14067, Error, PRINTER_STATUS_NOT_AVAILABLE, JOB_STATUS_ERROR, ERROR_IO_DEVICE},  // I/O Error
    {0x10101, 14067, Error, PRINTER_STATUS_NOT_AVAILABLE, JOB_STATUS_ERROR, ERROR_TIMEOUT},    // I/O Error
    {0x10102, 14067, Error, PRINTER_STATUS_NOT_AVAILABLE, JOB_STATUS_ERROR, ERROR_TIMEOUT},    // I/O Error
    {0x20000, 14070, Warning, 0, 0, 0, 0x80},                                                  // Paper Low
    {0x20001, 14071, Warning, 0, 0, 0, 0x10},                                                  // Ribbon Low
    {0x20002, 14072, Warning, PRINTER_STATUS_TONER_LOW, 0, 0, 0, true},                        // Toner Low
    {0x20003, 14073, Warning, 0, 0, 0},                                                        // Ink Low
    {0x20004, 14074, Warning, 0, 0, 0},                                                        // Dye Low
    {0x20040, 14102, Warning, 0, 0, 0},                                         // Generic Printer Warning
    {0x20041, 14098, Warning, 0, 0, 0},                                         // Print Head Warning
    {0x20042, 14099, Warning, 0, 0, 0},                                         // Print Head Overheated Warning
    {0x20043, 14100, Warning, 0, 0, 0},                                         // Memory Warning
    {0x20044, 14101, Warning, 0, 0, 0},                                         // Power Supply Warning
    {0x20045, 14106, Warning, 0, 0, 0},                                         // Data Exceeds Label Length
    {0x20046, 14107, Warning, 0, 0, 0},                                         // Data Exceeds Perforation Gap
    {0x20047, 14112, Warning, 0, 0, 0},                                         // Sensor Adjustment Warning
    {0x20048, 14113, Warning, 0, 0, 0},                                         // Data Exceeds Black Mark
    {0x20049, 14114, Warning, 0, 0, 0},                                         // Data Exceeds Document Length
    {0x2004A, 14115, Warning, 0, 0, 0},                                         // Data Exceeds Cut Sheet Length
    {0x2004B, 14116, Warning, 0, 0, 0},                                         // Non CG Warning
    {0x40000, 0, Normal, 0, 0, ERROR_INTERNAL_ERROR},                           // a fault of the monitor itself
    {0x40001, 0, Normal, 0, 0, ERROR_INTERNAL_ERROR},                           // a fault of the monitor itself
    {0x10000000, 14026, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Monitoring Disabled
    {0x10000001, 14027, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY},  // Monitoring Not Supported
};
static_assert(std::is_sorted(std::begin(kRows), std::end(kRows),
                             [](const StatusCodeRow& left, const StatusCodeRow& right) {
                               return left.code < right.code;
                             }));
static_assert(std::all_of(std::begin(kRows), std::end(kRows),
                          [](const StatusCodeRow& row) { return row.severity == SeverityByRange(row.code); }));

/// The text of a code that a printer makes up, with a place for the printer's own number.
WORD TextByRange(DWORD code) {
  switch (code >> 24) {
    case 0xA1:
    case 0xB1:
      return 14075;
    case 0xA2:
    case 0xB2:
      return 14076;
    default:
      return 0;
  }
}

}  // namespace

std::span<const StatusCodeRow> StatusCodes() { return kRows; }

StatusCodeRow DescribeStatusCode(DWORD code) {
  const auto* row = std::lower_bound(std::begin(kRows), std::end(kRows), code,
                                     [](const StatusCodeRow& left, DWORD right) { return left.code < right; });
  if (row != std::end(kRows) && row->code == code) return *row;
  const WORD text = TextByRange(code);
  if (SeverityByRange(code) == Error) return {code, text, Error, kAttention, JOB_STATUS_ERROR, ERROR_NOT_READY};
  return {code, text, SeverityByRange(code), 0, 0, 0};
}

}  // namespace portwise
