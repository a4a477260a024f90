#include "platform/spooler/packer.h"

#include <cstring>

namespace portwise::platform {

namespace {

void Align(std::string* bytes, std::size_t alignment) {
  bytes->resize((bytes->size() + alignment - 1) / alignment * alignment);
}

}  // namespace

void PackedStructures::AddStructure(const void* structure, std::size_t size) {
  lastStructure_ = structures_.size();
  structures_.append(static_cast<const char*>(structure), size);
}

void PackedStructures::Point(std::size_t member, const void* data, std::size_t size, std::size_t alignment) {
  Align(&targets_, alignment);
  pointers_.push_back({lastStructure_ + member, targets_.size()});
  targets_.append(static_cast<const char*>(data), size);
}

BOOL PackedStructures::Write(LPBYTE buffer, DWORD size, LPDWORD needed) {
  Align(&structures_, alignof(void*));
  *needed = static_cast<DWORD>(structures_.size() + targets_.size());
  if (*needed == 0) return TRUE;
  if (!buffer || size < *needed) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return FALSE;
  }
  for (const Pointer& pointer : pointers_) {
    const BYTE* target = buffer + structures_.size() + pointer.target;
    std::memcpy(structures_.data() + pointer.place, &target, sizeof target);
  }
  std::memcpy(buffer, structures_.data(), structures_.size());
  std::memcpy(buffer + structures_.size(), targets_.data(), targets_.size());
  return TRUE;
}

}  // namespace portwise::platform
