#include "core/stream.h"

#include <cstring>
#include <utility>

namespace portwise::OCore {

bool OStream::Write(const void* bytes, size_t size) {
  if (size > kBufferSize - buffered_ && !Flush()) return false;
  if (size > kBufferSize) return Deliver(bytes, size);
  if (size > 0) std::memcpy(buffer_ + buffered_, bytes, size);
  buffered_ += size;
  return true;
}

bool OStream::WriteString(const OString& text) {
  const std::string bytes = text.InCodePage(codePage_);
  return Write(bytes.data(), bytes.size());
}

bool OStream::WriteLine(const OString& text) { return WriteString(text) && Write("\r\n", 2); }

bool OStream::Flush() {
  const size_t size = std::exchange(buffered_, 0);
  return size == 0 || Deliver(buffer_, size);
}

bool OStream::Deliver(const void* bytes, size_t size) {
  if (WriteBytes(bytes, size)) return true;
  failed_ = true;
  return false;
}

LONG OStream::Read(void* buffer, DWORD size) { return Flush() ? ReadBytes(buffer, size) : -1; }

}  // namespace portwise::OCore
