#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

namespace portwise::platform {

/// One entry of the event log.
struct Event {
  /// Counts up by one for each entry, from 1; never given twice.
  std::int64_t record = 0;
  /// Milliseconds since 1970, UTC.
  std::int64_t time = 0;
  /// "System" or "Application".
  std::string log;
  std::string source;
  /// EVENTLOG_ERROR_TYPE, EVENTLOG_WARNING_TYPE or EVENTLOG_INFORMATION_TYPE.
  WORD type = 0;
  WORD category = 0;
  DWORD id = 0;
  std::vector<std::basic_string<WCHAR>> strings;
  std::string data;
  /// Of the process that reported it.
  DWORD process = 0;
  std::string computer;
};

}  // namespace portwise::platform
