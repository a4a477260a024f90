#pragma once

namespace portwise {

/// A full disk, for a scope: no file grows beyond `bytes` by the program's own writing.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(long long bytes);
  ~FileSizeLimit();
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;
};

}  // namespace portwise
