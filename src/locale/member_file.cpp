#include "locale/member_file.h"

#include "core/folders.h"
#include "core/handles.h"

namespace portwise {
namespace {

unique_handle OpenForWriting(const OString& path, DWORD disposition) {
  return unique_handle(
      CreateFileW(path.Wide(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
}

bool WriteAll(HANDLE file, const OBuffer& content) {
  DWORD written = 0;
  const auto size = static_cast<DWORD>(content.Size());
  return size == 0 || (WriteFile(file, content.Data(), size, &written, nullptr) && written == size);
}

}  // namespace

MemberTime::MemberTime(WORD date, WORD time) {
  FILETIME local = {};
  known_ = DosDateTimeToFileTime(date, time, &local) && LocalFileTimeToFileTime(&local, &utc_);
}

bool MemberTime::IsNotAfter(const OString& path) const {
  constexpr DWORD kShare = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  const unique_handle file(
      CreateFileW(path.Wide(), GENERIC_READ, kShare, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  FILETIME written = {};
  return known_ && file && GetFileTime(file.Get(), nullptr, nullptr, &written) && CompareFileTime(&written, &utc_) >= 0;
}

void MemberTime::SetOn(HANDLE file) const {
  if (known_) SetFileTime(file, &utc_, &utc_, &utc_);
}

MemberWritten WriteMemberFile(const OString& path, const OBuffer& content, bool temporary, const MemberTime& time) {
  unique_handle file = OpenForWriting(path, CREATE_ALWAYS);
  if (!file) return MemberWritten::NotOpened;
  const bool whole = WriteAll(file.Get(), content);
  file.Reset();
  if (!whole) {
    // A part of the file would pass for one that is newer than the member.
    DeleteFileW(path.Wide());
    return MemberWritten::No;
  }
  if (temporary) SetFileAttributesW(path.Wide(), FILE_ATTRIBUTE_TEMPORARY);
  if (const unique_handle again = OpenForWriting(path, OPEN_EXISTING)) time.SetOn(again.Get());
  return MemberWritten::Yes;
}

bool ReplaceAtRestart(const OString& target, const OBuffer& content, const MemberTime& time) {
  const OString fresh = NewTemporaryFile();
  if (fresh.IsEmpty()) return false;
  if (WriteMemberFile(fresh, content, false, time) == MemberWritten::Yes &&
      MoveFileExW(fresh.Wide(), target.Wide(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_DELAY_UNTIL_REBOOT)) {
    return true;
  }
  DeleteFileW(fresh.Wide());
  return false;
}

OString NewTemporaryFile() {
  const OString folder = LibraryTempFolder();
  WCHAR path[MAX_PATH] = {};
  if (folder.IsEmpty() || GetTempFileNameW(folder.Wide(), TEXT("pw#"), 0, path) == 0) return OString();
  return OString(path);
}

}  // namespace portwise
