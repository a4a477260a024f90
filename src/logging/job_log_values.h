#pragma once

#include <windows.h>

#include <span>
#include <variant>

#include "core/ostring.h"

namespace portwise {

/// What a field of a job log is turned into text from. A time of all zeros is not known.
using LogValue = std::variant<OString, LONG, SYSTEMTIME>;

/// What is known of the current job and its last event, for the records of job logs. Counters stop at their type's
/// limit. Times are local.
struct JobLogValues {
  OString printerName;
  OString modelName;
  OString portName;
  OString jobName;  ///< of the document, without what follows its last "."
  OString userName;
  OString clientName;
  OString recordFileName;
  OString eventType;
  OString eventDescription;
  OString status;
  LONG jobBytes = 0;
  LONG pageBytes = 0;  ///< since the last page ended
  LONG eventId = 0;
  LONG eventCategory = 0;
  LONG warnings = 0;
  LONG errors = 0;
  LONG pageCount = 0;
  LONG pageIndex = 0;
  SYSTEMTIME startTime = {};
  SYSTEMTIME endTime = {};
  SYSTEMTIME submittedTime = {};
  SYSTEMTIME eventTime = {};

  /// Of a new job: counters begin at 0, it starts now, and nothing of an earlier job is left but its last event.
  void BeginJob(const OString& printer, const OString& port, const OString& recordFile);
  /// What the spooler knows of the job; what it does not know stays empty.
  void FillFromSpooler(DWORD job);
  void AddBytes(DWORD count);
  /// Takes over an event: its time, its type and category, and the counts of warnings and errors.
  void SetEvent(DWORD id, const OString& description);
};

/// What a log records, one record for each.
enum class LogType : DWORD { Jobs = 0, Pages = 1, Events = 2 };

/// A field that logs may have.
struct LogFieldRow {
  const char* key;
  LogValue (*value)(const JobLogValues& values, LogType type);
};
/// All of them, in the order in which records are filled.
std::span<const LogFieldRow> LogFields();

}  // namespace portwise
