#include "monitor/response_buffer.h"

#include <utility>

namespace portwise {

void ResponseBuffer::Append(std::string_view bytes) {
  if (bytes.size() > kCapacity) bytes.remove_prefix(bytes.size() - kCapacity);
  const OScopedLock lock(lock_);
  if (bytes_.size() + bytes.size() > kCapacity) bytes_.erase(0, bytes_.size() + bytes.size() - kCapacity);
  bytes_.append(bytes);
}

DWORD ResponseBuffer::Size() const {
  const OScopedLock lock(lock_);
  return static_cast<DWORD>(bytes_.size());
}

std::string ResponseBuffer::Copy() const {
  const OScopedLock lock(lock_);
  return bytes_;
}

std::string ResponseBuffer::Take() {
  const OScopedLock lock(lock_);
  return std::exchange(bytes_, {});
}

}  // namespace portwise
