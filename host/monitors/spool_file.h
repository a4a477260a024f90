#pragma once

#include <windows.h>

#include "platform/kernel/unique_fd.h"

namespace portwise {

/// A document that is kept until its size is known. It has no name, so nothing stays when the process ends. One thread.
class SpoolFile {
 public:
  /// Empties the file, which is made when there is none. False with the last error.
  bool Begin();
  /// Appends what the disk takes; `written` is set in every case.
  bool Append(const BYTE* data, DWORD size, DWORD* written);
  /// Reads at most `size` bytes at `position`, and fewer only at the end of the file.
  bool Read(unsigned long long position, BYTE* data, DWORD size, DWORD* read) const;
  void Close();

  unsigned long long Size() const { return size_; }

 private:
  platform::UniqueFd file_;
  unsigned long long size_ = 0;
};

}  // namespace portwise
