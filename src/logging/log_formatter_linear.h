#pragma once

#include "logging/log_formatter_file.h"

namespace portwise {

/// Blocks of lines, each with a caption, a colon and a value.
class LogFormatterLinear final : public LogFormatterFile {
 public:
  /// The column in which values begin, as far as captions are not longer.
  void SetDataOffset(LONG offset) { dataOffset_ = offset; }
  /// Whether fields without a value have a line too.
  void SetDisplayEmptyFields(bool display) { displayEmptyFields_ = display; }

 private:
  void WriteTo(OFile& file, const std::vector<logField>& fields, const LogData& record) override;

  LONG dataOffset_ = 40;
  bool displayEmptyFields_ = false;
};

}  // namespace portwise
