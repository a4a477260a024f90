#pragma once

#include "core/handles.h"
#include "core/stream.h"

namespace portwise {

/// A file as a stream.
class OFile : public OCore::OStream {
 public:
  static constexpr DWORD kReadWrite = 0x1;   ///< read and write; without it read only
  static constexpr DWORD kShareMask = 0x30;  ///< without any of the three below, others may read and write
  static constexpr DWORD kShareNone = 0x10;
  static constexpr DWORD kShareRead = 0x20;
  static constexpr DWORD kShareWrite = 0x30;
  static constexpr DWORD kCreate = 0x1000;  ///< create when missing; without it the file must exist
  static constexpr DWORD kAppend = 0x2000;  ///< start at the end; without it opening for writing truncates

  OFile() = default;
  ~OFile() override { Close(); }

  /// Closes what was open first. False with the last error of the system when the file does not open.
  bool Open(const OString& path, DWORD flags);
  /// Delivers what is buffered; false when that failed. Closed in either case.
  bool Close();
  bool IsOpen() const { return static_cast<bool>(file_); }

  /// In bytes; -1 when the file is not open or its size cannot be had. Buffered bytes count.
  LONGLONG Size();
  /// Cuts the file to that many bytes, and drops what is buffered; the next bytes go to its end.
  bool Truncate(LONGLONG size);

 protected:
  bool WriteBytes(const void* bytes, size_t size) override;
  LONG ReadBytes(void* buffer, DWORD size) override;

 private:
  unique_handle file_;
};

}  // namespace portwise
