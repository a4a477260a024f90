#include "logging/log_formatter_file.h"

#include "core/folders.h"

namespace portwise {

void LogFormatterFile::SetPath(const OString& path) {
  const int end = path.ReverseFind('\\');
  if (end < 0) return;
  path_ = path;
  folder_ = path.Left(end);
}

bool LogFormatterFile::OpenFile(OFile* file) const {
  if (path_.IsEmpty()) return false;
  CreateFolder(folder_);
  return file->Open(path_, OFile::kReadWrite | OFile::kCreate | OFile::kAppend);
}

}  // namespace portwise
