#include "xpml/text_buffer.h"

#include <cstdlib>
#include <utility>

namespace portwise {

TextBuffer::~TextBuffer() { std::free(data_); }

bool TextBuffer::Grow(size_t count) {
  size_t capacity = capacity_ < 1 ? 64 : capacity_;
  while (capacity - length_ < count) {
    if (capacity > kNoLimit) return false;
    capacity *= 2;
  }
  void* grown = std::realloc(data_, capacity);
  if (!grown) return false;
  data_ = static_cast<char*>(grown);
  capacity_ = capacity;
  return true;
}

bool TextBuffer::Terminate() {
  if (!Reserve(1)) return false;
  data_[length_] = '\0';
  return true;
}

void TextBuffer::Free() {
  std::free(std::exchange(data_, nullptr));
  base_ = length_ = capacity_ = 0;
}

void TextBuffer::Swap(TextBuffer& other) noexcept {
  std::swap(base_, other.base_);
  std::swap(length_, other.length_);
  std::swap(data_, other.data_);
  std::swap(capacity_, other.capacity_);
}

}  // namespace portwise
