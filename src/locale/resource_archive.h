#pragma once

#include <deque>
#include <vector>

#include "core/buffer.h"
#include "core/ostring.h"
#include "core/synchronizer.h"

namespace portwise {

/// The members of resource archives: ZIP archives (the published PKWARE format) in their plainest form, with deflated
/// members, no extra fields, no comments, and the sizes in the local headers. Nothing in an archive is trusted: what is
/// damaged is not there. Any thread.
class OResourceFile {
 public:
  /// Nothing is written when the target is at least as new as the member.
  static constexpr DWORD kSkipWhenCurrent = 1;
  /// The target's attributes are cleared first, so that a read-only file is replaced too.
  static constexpr DWORD kClearAttributes = 2;
  /// The file is marked temporary, and never replaced later.
  static constexpr DWORD kTemporary = 4;

  /// A member larger than this is not extracted.
  static constexpr DWORD kLargestMember = 64u << 20;

  struct Entry {
    OString name;
    int archive;
    DWORD headerOffset;
  };

  /// False for a file that cannot be opened for reading. Archives that were added first are asked first.
  bool AddArchive(const OString& path);

  /// The member of that name, in any case of ASCII letters; null when there is none. Lasts as long as this object.
  const Entry* Find(const OString& name);

  /// Writes a member to a file, which then has the member's time. Without kTemporary, a target that cannot be opened is
  /// replaced when the system starts next. The member is inflated before the target is touched. False when there is no
  /// such member, it is damaged, or the file cannot be written.
  bool Extract(const OString& name, const OString& target, DWORD flags);

 private:
  /// What the local header tells of a member, and where its data is.
  struct Member {
    WORD time, date;
    DWORD compressedSize, size;
    LONGLONG dataOffset;
  };

  void ReadArchives();
  void ReadDirectory(int archive);
  bool ReadMember(HANDLE file, const Entry& entry, Member* member) const;
  bool Inflate(HANDLE file, const Member& member, OBuffer* content) const;

  OCriticalSection lock_;
  std::vector<OString> archives_;
  int archivesRead_ = 0;
  std::deque<Entry> entries_;
};

}  // namespace portwise
