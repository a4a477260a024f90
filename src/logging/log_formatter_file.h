#pragma once

#include "core/file.h"
#include "logging/log_formatter.h"

namespace portwise {

/// A formatter that appends to a file in the system's ANSI code page. The file is open only during a write, and others
/// may read and write it meanwhile.
class LogFormatterFile : public LogFormatter {
 public:
  /// A path without a backslash is not taken; without a path nothing is written.
  void SetPath(const OString& path);
  const OString& Path() const { return path_; }

 protected:
  /// Makes the folder and opens the file at its end.
  bool OpenFile(OFile* file) const;

 private:
  OString folder_;
  OString path_;
};

}  // namespace portwise
