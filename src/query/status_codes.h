#pragma once

#include <windows.h>

namespace portwise {

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

/// The row of a code: that of the table, or for a code that is not in it what holds for codes of its range.
StatusCodeRow DescribeStatusCode(DWORD code);

}  // namespace portwise
