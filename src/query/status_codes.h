#pragma once

#include <windows.h>

#include <span>

namespace portwise {

/// The codes that the monitor itself sets or looks for, among all that printers tell.
inline constexpr DWORD kStatusReady = 1;
inline constexpr DWORD kStatusProcessing = 2;
inline constexpr DWORD kStatusPrinting = 3;
inline constexpr DWORD kStatusPaused = 4;
inline constexpr DWORD kStatusOffline = 5;
inline constexpr DWORD kStatusLabelPresent = 8;
inline constexpr DWORD kStatusBusy = 12;
inline constexpr DWORD kStatusFeeding = 13;
inline constexpr DWORD kStatusMonitoringDisabled = 0x10000000;
inline constexpr DWORD kStatusMonitoringNotSupported = 0x10000001;

/// How bad a status is. The numbers are those that clients are told.
enum class Severity { Normal = 1, Error = 2, Warning = 3 };

/// What a status code means to everybody who is told of it.
struct StatusCodeRow {
  DWORD code;
  WORD text;  ///< id in the string table; 0 for a code without a text
  Severity severity;
  DWORD printerFlag;          ///< PRINTER_STATUS_...
  DWORD jobFlag;              ///< JOB_STATUS_...
  DWORD error;                ///< the Windows error of a record whose first code it is
  DWORD flags2 = 0;           ///< its bit of "Status Flags 2"
  bool spoolerShows = false;  ///< the spooler's flags alone tell a reader all that the text does
};

/// The table of the codes that are known, ascending.
std::span<const StatusCodeRow> StatusCodes();

/// The row of a code: that of the table, or for a code that is not in it what holds for codes of its range.
StatusCodeRow DescribeStatusCode(DWORD code);

}  // namespace portwise
