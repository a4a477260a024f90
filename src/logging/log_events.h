#pragma once

#include <windows.h>

namespace portwise {

/// The events of job logs. All that knows one by its number takes it from here.

/// An event of a job's course, which the monitor itself describes.
struct LogEvent {
  DWORD id;
  const char* text;
};
inline constexpr LogEvent kJobStart = {100, "Job Start"};
inline constexpr LogEvent kJobEnd = {101, "Job End"};
inline constexpr LogEvent kPageStart = {102, "Page Start"};
inline constexpr LogEvent kPageEnd = {103, "Page End"};

/// Events that are a status of the printer, whose text describes them.
inline constexpr DWORD kReadyAgainEvent = 200;
inline constexpr DWORD kWarningEvent = 301;
inline constexpr DWORD kWaitingEvent = 303;
inline constexpr DWORD kErrorEvent = 901;

/// The categories of events. Those of warnings and errors name the range of ids that begins behind them.
inline constexpr DWORD kInformationCategory = 0;
inline constexpr DWORD kWarningCategory = 300;
inline constexpr DWORD kErrorCategory = 900;

/// A range of ids, both ends included; none when it is left out.
struct LogEventRange {
  DWORD first = 1;
  DWORD last = 0;
};

/// A kind of events, which a log of events has or leaves out as a whole.
struct LogEventKind {
  const char* name;  ///< as the command line calls it
  DWORD filter;      ///< its bit of a log's "EventsFilter"
  LogEventRange ids[2];

  constexpr bool Has(DWORD id) const {
    return (ids[0].first <= id && id <= ids[0].last) || (ids[1].first <= id && id <= ids[1].last);
  }
};
inline constexpr LogEventKind kLogEventKinds[] = {
    {"ready", 0x01, {{1, 2}, {kReadyAgainEvent, kReadyAgainEvent}}},
    {"warnings", 0x02, {{kWarningEvent, 304}}},
    {"errors", 0x04, {{kErrorEvent, 908}}},
    {"job-start", 0x10, {{kJobStart.id, kJobStart.id}}},
    {"job-end", 0x20, {{kJobEnd.id, kJobEnd.id}}},
    {"page-start", 0x40, {{kPageStart.id, kPageStart.id}}},
    {"page-end", 0x80, {{kPageEnd.id, kPageEnd.id}}},
};

}  // namespace portwise
