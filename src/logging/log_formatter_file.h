#pragma once

#include <memory>

#include "core/file.h"
#include "core/synchronizer.h"
#include "logging/log_formatter.h"

namespace portwise {

/// A formatter that appends to a file in the system's ANSI code page. The file is open only during a write, and others
/// may read and write it meanwhile; records of this process do not mix, whichever log they come from.
class LogFormatterFile : public LogFormatter {
 public:
  /// A path without a backslash is not taken; without a path nothing is written.
  void SetPath(const OString& path);
  const OString& Path() const { return path_; }

  void Write(const std::vector<logField>& fields, const LogData& record) final;

 protected:
  /// Writes one record to the open file, at its end.
  virtual void WriteTo(OFile& file, const std::vector<logField>& fields, const LogData& record) = 0;

 private:
  /// Makes the folder and opens the file at its end.
  bool OpenFile(OFile* file) const;

  std::shared_ptr<OCriticalSection> lock_;  // null without a path
  OString folder_;
  OString path_;
};

}  // namespace portwise
