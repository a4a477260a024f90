#pragma once

#include <array>
#include <iterator>
#include <span>
#include <string>
#include <vector>

#include "core/ostring.h"
#include "host/cli/client.h"
#include "logging/log.h"
#include "logging/log_events.h"

/// The job logs of printers as the command line names them, and their place in the registry.
namespace portwise {

/// A choice by its name, and the value that stands for it in the registry.
struct LogChoice {
  const char* name;
  DWORD value;
};

inline constexpr LogChoice kLogTypes[] = {{"jobs", static_cast<DWORD>(LogType::Jobs)},
                                          {"pages", static_cast<DWORD>(LogType::Pages)},
                                          {"events", static_cast<DWORD>(LogType::Events)}};
inline constexpr LogChoice kLogFormats[] = {{"csv", kLogCsv}, {"text", kLogLinear}, {"eventlog", kLogSystemEvent}};
inline constexpr LogChoice kLogOrganizations[] = {
    {"log", kLogByLog}, {"document", kLogByDocument}, {"date", kLogByDate}, {"number", kLogByNumber}};
/// The events that a log of events may leave out.
inline constexpr auto kLogEvents = [] {
  std::array<LogChoice, std::size(kLogEventKinds)> choices{};
  for (std::size_t i = 0; i < choices.size(); ++i) choices[i] = {kLogEventKinds[i].name, kLogEventKinds[i].filter};
  return choices;
}();

/// The value that `name` stands for; CommandError, which says what there is, when it stands for none.
DWORD ValueOf(std::span<const LogChoice> choices, const std::string& what, const std::string& name);
/// The name of a value; the number when it has none.
std::string NameOf(std::span<const LogChoice> choices, DWORD value);

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
