#pragma once

#include <windows.h>

#include <cstring>
#include <memory>
#include <new>
#include <utility>

namespace portwise {

/// Owned bytes with their number. Moves, never copies.
class OBuffer {
 public:
  OBuffer() = default;
  OBuffer(const void* bytes, size_t size) {
    if (Allocate(size) && size > 0) std::memcpy(data_.get(), bytes, size);
  }
  OBuffer(OBuffer&& other) noexcept : data_(std::move(other.data_)), size_(std::exchange(other.size_, 0)) {}
  OBuffer& operator=(OBuffer&& other) noexcept {
    data_ = std::move(other.data_);
    size_ = std::exchange(other.size_, 0);
    return *this;
  }

  /// Replaces the content by `size` zero bytes; false, and empty, when there is no memory.
  bool Allocate(size_t size) {
    data_.reset(size > 0 ? new (std::nothrow) BYTE[size]() : nullptr);
    size_ = data_ ? size : 0;
    return size_ == size;
  }
  void Clear() { Allocate(0); }

  BYTE* Data() { return data_.get(); }
  const BYTE* Data() const { return data_.get(); }
  size_t Size() const { return size_; }
  bool IsEmpty() const { return size_ == 0; }

 private:
  std::unique_ptr<BYTE[]> data_;
  size_t size_ = 0;
};

}  // namespace portwise
