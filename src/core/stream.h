#pragma once

#include <string>

#include "core/ostring.h"

namespace portwise::OCore {

/// A byte stream with a write buffer of 1024 bytes. Text is written in the stream's code page, and lines end with
/// CR LF. One thread at a time; the destructor of a derived class flushes what is still buffered.
class OStream {
 public:
  OStream() = default;
  OStream(const OStream&) = delete;
  OStream& operator=(const OStream&) = delete;
  virtual ~OStream() = default;

  UINT CodePage() const { return codePage_; }
  void SetCodePage(UINT codePage) { codePage_ = codePage; }

  /// False when bytes that were buffered before could not be delivered; those are then lost. That these bytes arrived
  /// is told by Flush alone.
  bool Write(const void* bytes, size_t size);
  bool WriteString(const OString& text);
  bool WriteLine(const OString& text = OString());
  bool Flush();
  /// Some bytes could not be delivered.
  bool HasFailed() const { return failed_; }

  /// Reads up to `size` bytes, after what was written has been delivered. The number read, 0 at the end, -1 on failure.
  LONG Read(void* buffer, DWORD size);

 protected:
  /// Delivers all the bytes, or fails.
  virtual bool WriteBytes(const void* bytes, size_t size) = 0;
  virtual LONG ReadBytes(void* buffer, DWORD size) = 0;
  /// Forgets what is buffered.
  void Discard() { buffered_ = 0; }

 private:
  static constexpr size_t kBufferSize = 1024;

  char buffer_[kBufferSize];
  size_t buffered_ = 0;
  bool failed_ = false;
  UINT codePage_ = kCodePageAnsi;

  bool Deliver(const void* bytes, size_t size);
};

}  // namespace portwise::OCore
