#pragma once

#include <vector>

#include "logging/log_data.h"
#include "logging/log_field.h"

namespace portwise {

/// Turns records of a log into output. A record that cannot be written is lost without a message. One thread at a time.
class LogFormatter {
 public:
  LogFormatter() = default;
  LogFormatter(const LogFormatter&) = delete;
  LogFormatter& operator=(const LogFormatter&) = delete;
  virtual ~LogFormatter() = default;

  /// Appends one record. A field that the record does not have reads as empty.
  virtual void Write(const std::vector<logField>& fields, const LogData& record) = 0;
};

}  // namespace portwise
