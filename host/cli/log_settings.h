#pragma once

#include <string>
#include <vector>

#include "core/ostring.h"
#include "host/cli/client.h"
#include "logging/log.h"

/// The job logs of printers as the command line names them, and their place in the registry.
namespace portwise {

/// A choice by its name, and the value that stands for it in the registry.
struct LogChoice {
  const char* name;
  DWORD value;
};

inline constexpr LogChoice kLogTypes[] = {{"jobs", 0}, {"pages", 1}, {"events", 2}};
inline constexpr LogChoice kLogFormats[] = {{"csv", 0}, {"text", 1}, {"eventlog", 2}};
/// What a log's files are named by.
inline constexpr LogChoice kLogOrganizations[] = {{"log", 0}, {"document", 1}, {"date", 2}, {"number", 3}};
/// The events that a log of events may leave out.
inline constexpr LogChoice kLogEvents[] = {{"ready", 0x01},     {"warnings", 0x02}, {"errors", 0x04},
                                           {"job-start", 0x10}, {"job-end", 0x20},  {"page-start", 0x40},
                                           {"page-end", 0x80}};

/// The value that `name` stands for; CommandError, which says what there is, when it stands for none.
template <std::size_t Count>
DWORD ValueOf(const LogChoice (&choices)[Count], const std::string& what, const std::string& name) {
  std::string known;
  for (const LogChoice& choice : choices) {
    if (name == choice.name) return choice.value;
    known += std::string(known.empty() ? "" : ", ") + choice.name;
  }
  throw CommandError("there is no " + what + " " + name + "; there are " + known);
}

/// The name of a value; the number when it has none.
template <std::size_t Count>
std::string NameOf(const LogChoice (&choices)[Count], DWORD value) {
  for (const LogChoice& choice : choices) {
    if (value == choice.value) return choice.name;
  }
  return std::to_string(value);
}

/// Fields as the command line has them: KEY or KEY=CAPTION, in the order of the output. Without any, those that suit
/// the log's type. CommandError for a key that there is not, or that comes twice.
std::vector<logField> ParseLogFields(const std::vector<std::string>& fields, LogType type, const OString& timeFormat);

/// Why `name` cannot name a log; empty when it can.
std::string LogNameFault(const std::string& name);

/// Whether the printer has a log of that name, in any case.
bool HasLog(const OString& printer, const OString& name);
/// Writes the log's settings; CommandError, with nothing left, when the registry does not take them.
void SaveLog(const Log& log);
/// Removes the log's settings; its files stay. False when there is no such log.
bool RemoveLog(const OString& printer, const OString& name);

}  // namespace portwise
