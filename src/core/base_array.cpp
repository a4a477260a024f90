#include "core/base_array.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace portwise {

OBaseArray::OBaseArray(const OBaseArray& other) : elementSize_(other.elementSize_), growBy_(other.growBy_) {
  if (SetSize(other.size_) && size_ > 0) std::memcpy(data_, other.data_, static_cast<size_t>(size_) * elementSize_);
}

OBaseArray::OBaseArray(OBaseArray&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)),
      elementSize_(other.elementSize_),
      size_(std::exchange(other.size_, 0)),
      capacity_(std::exchange(other.capacity_, 0)),
      growBy_(other.growBy_) {}

OBaseArray& OBaseArray::operator=(OBaseArray other) noexcept {
  std::swap(data_, other.data_);
  std::swap(elementSize_, other.elementSize_);
  std::swap(size_, other.size_);
  std::swap(capacity_, other.capacity_);
  std::swap(growBy_, other.growBy_);
  return *this;
}

OBaseArray::~OBaseArray() { std::free(data_); }

bool OBaseArray::Reserve(int size) {
  if (size <= capacity_) return true;
  LONGLONG capacity = size;
  if (data_) {
    const int step = growBy_ > 0 ? growBy_ : std::clamp(size_ / 8, 4, 1024);
    capacity = std::max<LONGLONG>(size, static_cast<LONGLONG>(capacity_) + step);
  }
  if (capacity > INT_MAX || static_cast<size_t>(capacity) > PTRDIFF_MAX / elementSize_) return false;
  void* grown = std::realloc(data_, static_cast<size_t>(capacity) * elementSize_);
  if (!grown) return false;
  data_ = static_cast<std::byte*>(grown);
  capacity_ = static_cast<int>(capacity);
  return true;
}

bool OBaseArray::SetSize(int size) {
  if (size < 0) return false;
  if (size == 0) {
    std::free(std::exchange(data_, nullptr));
    size_ = capacity_ = 0;
    return true;
  }
  if (!Reserve(size)) return false;
  if (size > size_) std::memset(At(size_), 0, static_cast<size_t>(size - size_) * elementSize_);
  size_ = size;
  return true;
}

bool OBaseArray::InsertGap(int index, int count) {
  if (index < 0 || index > size_ || count < 0 || count > INT_MAX - size_) return false;
  const int tail = size_ - index;
  if (count == 0) return true;
  if (!SetSize(size_ + count)) return false;
  std::memmove(At(index + count), At(index), static_cast<size_t>(tail) * elementSize_);
  std::memset(At(index), 0, static_cast<size_t>(count) * elementSize_);
  return true;
}

void OBaseArray::RemoveRange(int index, int count) {
  if (index < 0 || count <= 0 || index > size_ - count) return;
  std::memmove(At(index), At(index + count), static_cast<size_t>(size_ - index - count) * elementSize_);
  SetSize(size_ - count);
}

}  // namespace portwise
