#include "xpml/text_buffer.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace portwise {

TextBuffer::~TextBuffer() { Free(); }

bool TextBuffer::Grow(size_t count) {
  size_t capacity = capacity_ < 1 ? 64 : capacity_;
  while (capacity - length_ < count) {
    if (capacity > kNoLimit) return false;
    capacity *= 2;
  }
  if (allowance_ && !allowance_->TryTake(capacity - capacity_)) {
    capacity = std::min(capacity, (length_ + count) + (length_ + count) / 8);
    if (!allowance_->Take(capacity - capacity_)) return false;
  }
  void* grown = std::realloc(data_, capacity);
  if (!grown) {
    if (allowance_) {
      allowance_->Return(capacity - capacity_);
      allowance_->Exceed();
    }
    return false;
  }
  data_ = static_cast<char*>(grown);
  capacity_ = capacity;
  return true;
}

char* TextBuffer::Resize(size_t length) {
  if (length > Length()) {
    const size_t more = length - Length();
    if (more > Room() || !Reserve(more)) return nullptr;
  }
  length_ = base_ + length;
  return Data();
}

bool TextBuffer::Replace(std::string_view text) {
  char* content = Resize(text.size());
  if (!content && !text.empty()) return false;
  if (!text.empty()) std::memcpy(content, text.data(), text.size());
  return true;
}

bool TextBuffer::Terminate() {
  if (!Reserve(1)) return false;
  data_[length_] = '\0';
  return true;
}

void TextBuffer::Free() {
  std::free(std::exchange(data_, nullptr));
  if (allowance_ && capacity_ > 0) allowance_->Return(capacity_);
  base_ = length_ = capacity_ = 0;
}

bool TextBuffer::Take(TextBuffer& from) {
  // The memory can change hands only where nothing but the content lies in it, and it is of one allowance.
  if (base_ == 0 && from.base_ == 0 && from.Length() <= limit_ && allowance_ == from.allowance_) {
    std::swap(length_, from.length_);
    std::swap(data_, from.data_);
    std::swap(capacity_, from.capacity_);
  } else if (!Replace(from.View())) {
    return false;
  }
  from.Clear();
  return true;
}

}  // namespace portwise
