#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "platform/spooler/channel.h"

namespace portwise {

/// What a command tells its user on standard error before the program ends with a failure.
class CommandError : public std::runtime_error {
 public:
  explicit CommandError(const std::string& what, int exitCode = 1) : std::runtime_error(what), exitCode_(exitCode) {}

  /// The exit code of the program.
  int ExitCode() const { return exitCode_; }

 private:
  int exitCode_;
};

/// Orders to the running spooler, all over one connection.
class Client {
 public:
  /// The answer to an order that was carried out; otherwise throws CommandError with the spooler's reason.
  platform::Message Ask(const nlohmann::json& order, const std::string& body = {});
  /// The answer as it is, except that a spooler that cannot be reached is a CommandError.
  platform::Message Call(const nlohmann::json& order, const std::string& body = {});
  /// The list that an order answers with.
  nlohmann::json AskList(const nlohmann::json& order);

 private:
  platform::SpoolerConnection connection_;
};

/// A line for each row, with the columns aligned.
std::vector<std::string> FormatTable(const std::vector<std::vector<std::string>>& rows);
/// Writes rows with their columns aligned to standard output; the first row is the heading.
void PrintTable(const std::vector<std::vector<std::string>>& rows);
void PrintJson(const nlohmann::json& value);
/// Throws a CommandError when something that was written to standard output did not get there.
void FlushOutput();

/// A path as the spooler can use it wherever it runs: Windows paths as they are, Linux paths from the root.
std::string AbsolutePath(const std::string& path);

}  // namespace portwise
