#pragma once

#include "logging/log_formatter.h"
#include "logging/printer_event_log.h"

namespace portwise {

/// Entries of the system event log: records whose "Category" is 0, 300 or 900, as information, warnings and errors.
class LogFormatterSystemEvent final : public LogFormatter {
 public:
  /// Of the fields those with an order above 0.
  void Write(const std::vector<logField>& fields, const LogData& record) override;

 private:
  PrinterEventLog eventLog_;
};

}  // namespace portwise
