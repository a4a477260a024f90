#pragma once

#include <windows.h>

#include <string>

#include "core/printer_handle.h"
#include "host/cli/client.h"

namespace portwise {

/// A printer, opened to ask the monitor of its port what drivers ask. One thread at a time.
class DriverChannel {
 public:
  /// CommandError when there is no such printer, or it cannot be opened.
  explicit DriverChannel(const std::string& printer);

  /// The name as it is spelled.
  const std::string& Name() const { return name_; }
  /// What the spooler said of the printer.
  const nlohmann::json& Description() const { return description_; }

  /// Asks for the printer data `value`; `answer` has room for what comes. The error of the call.
  DWORD Ask(const std::string& value, std::string* answer) const;
  /// The reply to a request of any bytes and any length, which travels through the registry. CommandError when there is
  /// none.
  std::string AskStored(const std::string& request) const;
  /// Throws the CommandError of an error of Ask.
  [[noreturn]] void Fail(DWORD error) const;

 private:
  nlohmann::json description_;
  std::string name_;
  unique_printer printer_;
};

}  // namespace portwise
