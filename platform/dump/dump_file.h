#pragma once

#include <windows.h>

#include <string_view>
#include <vector>

#include "platform/dump/minidump_format.h"

namespace portwise::platform {

/// Writes a minidump from its start to its end, and the header with the directory of streams when all the rest is
/// there. A write that fails makes all later ones do nothing, and Finish fail.
class DumpFile {
 public:
  /// Stays the caller's. `streamLimit` streams find room in the directory.
  DumpFile(HANDLE file, DWORD streamLimit);

  /// Where the next bytes will lie, at a multiple of 8.
  DWORD Align();

  DumpLocation Append(const void* bytes, size_t size);
  template <class Record>
  DumpLocation Append(const Record& record) {
    return Append(&record, sizeof record);
  }
  /// Aligned, and in the form that the format gives texts; the result is their place.
  DWORD AppendText(std::u16string_view text);

  /// Enters what lies from `start` to here as a stream.
  void EndStream(DumpStream type, DWORD start);

  /// False when anything could not be written; the last error is then that of the write.
  bool Finish(DWORD64 dumpType);

 private:
  bool Flush();

  const HANDLE file_;
  const DWORD streamLimit_;
  std::vector<DumpDirectoryEntry> streams_;
  std::vector<BYTE> pending_;
  DWORD flushed_ = 0;
  DWORD error_ = ERROR_SUCCESS;
};

}  // namespace portwise::platform
