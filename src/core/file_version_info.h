#pragma once

#include "core/buffer.h"
#include "core/ostring.h"

namespace portwise {

/// The version strings of a module file, such as the library's own "ProductVersion". One thread at a time.
class FileVersionInfo {
 public:
  /// Reads the version resource of the file, given by its path or as LoadLibraryW finds it. Throws an OException with
  /// the system's error when there is none.
  explicit FileVersionInfo(const OString& path);

  /// The string of that name in the first of the languages that has it: neutral, the system's default, the user's
  /// default, US English. Empty when none has.
  OString GetString(const OString& name) const;

 private:
  void Read();

  OString path_;
  OBuffer resource_;
};

}  // namespace portwise
