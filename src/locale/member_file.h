#pragma once

#include <windows.h>

#include "core/buffer.h"
#include "core/ostring.h"

namespace portwise {

/// The time of an archive's member, which the archive keeps as DOS did: in local time, to two seconds.
class MemberTime {
 public:
  MemberTime(WORD date, WORD time);

  /// True when the file at `path` was last written then or later; false also when there is no such file or time.
  bool IsNotAfter(const OString& path) const;
  /// Gives an open file this time; a time that there is not leaves it as it is.
  void SetOn(HANDLE file) const;

 private:
  bool known_;
  FILETIME utc_ = {};
};

enum class MemberWritten { Yes, No, NotOpened };

/// Writes a file anew, and gives it its time and, when asked, the mark of a temporary one.
MemberWritten WriteMemberFile(const OString& path, const OBuffer& content, bool temporary, const MemberTime& time);

/// Writes a new temporary file, which takes the target's place when the system starts next.
bool ReplaceAtRestart(const OString& target, const OBuffer& content, const MemberTime& time);

/// A new empty file in the system's folder for temporary ones; an empty path when there can be none.
OString NewTemporaryFile();

}  // namespace portwise
