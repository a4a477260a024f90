#include "logging/log_formatter_file.h"

#include "core/folders.h"
#include "logging/log_file_lock.h"

namespace portwise {

void LogFormatterFile::SetPath(const OString& path) {
  const int end = path.ReverseFind('\\');
  if (end < 0) return;
  path_ = path;
  folder_ = path.Left(end);
  lock_ = LockOfLogFile(path);
}

void LogFormatterFile::Write(const std::vector<logField>& fields, const LogData& record) {
  if (!lock_) return;
  // From the look for the file's end to the last byte: another port may be appending to the same file.
  const OScopedLock locked(*lock_);
  OFile file;
  if (!OpenFile(&file)) return;
  const LONGLONG size = file.Size();
  WriteTo(file, fields, record);
  // A part of a record would spoil the next one.
  if (!file.Flush() || file.HasFailed()) file.Truncate(size);
}

bool LogFormatterFile::OpenFile(OFile* file) const {
  CreateFolder(folder_);
  return file->Open(path_, OFile::kReadWrite | OFile::kCreate | OFile::kAppend);
}

}  // namespace portwise
