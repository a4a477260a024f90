#pragma once

#include "logging/log_formatter_file.h"

namespace portwise {

/// Comma-separated lines as of RFC 4180, with quotes also around values with tabs or outer spaces.
class LogFormatterCSV final : public LogFormatterFile {
 public:
  /// Whether a new file begins with the captions; it does unless told otherwise.
  void SetIncludeHeaderRecord(bool include) { includeHeaderRecord_ = include; }

 private:
  void WriteTo(OFile& file, const std::vector<logField>& fields, const LogData& record) override;

  bool includeHeaderRecord_ = true;
};

}  // namespace portwise
