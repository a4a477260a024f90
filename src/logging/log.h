#pragma once

#include <windows.h>

#include <memory>
#include <vector>

#include "logging/log_field.h"
#include "logging/log_formatter.h"

namespace portwise {

/// Where a log's records go, and how a record looks there.
enum LogFormat : DWORD { kLogCsv = 0, kLogLinear = 1, kLogSystemEvent = 2, kLogLinearToo = 3 };
/// What a log's files are named by.
enum LogOrganization : DWORD { kLogByLog = 0, kLogByDocument = 1, kLogByDate = 2, kLogByNumber = 3 };

/// One log as it is configured under a printer's "Settings:Logging".
struct Log {
  OString printer;
  OString name;
  bool enabled = false;
  DWORD logType = static_cast<DWORD>(LogType::Jobs);
  DWORD format = kLogCsv;
  OString documentName;  ///< of the current job, without its extension
  OString directory;
  DWORD organization = kLogByLog;
  DWORD dataOffset = 0;
  DWORD eventsFilter = 0;
  bool displayEmptyFields = false;
  bool includeHeaderRecord = false;
  std::vector<logField> fields;  ///< by ascending order; of equal ones the later name comes first

  /// Reads the log from the registry.
  static Log Load(const OString& printer, const OString& name, const OString& documentName);

  bool IsOf(LogType type) const { return enabled && logType == static_cast<DWORD>(type); }
  /// Whether the log wants an event.
  bool Admits(DWORD eventId) const;
  /// The file that the log's records go to, by its organization; looks at the folder for the next free number.
  OString FilePath() const;
  /// The formatter of the log's format; null for a format that is not known.
  std::unique_ptr<LogFormatter> MakeFormatter() const;

 private:
  OString FileName() const;
};

/// The names of the logs of a printer, ascending.
std::vector<OString> LogNames(const OString& printer);

}  // namespace portwise
