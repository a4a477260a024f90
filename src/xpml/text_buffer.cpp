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
  base_ = length_ = capacity_ = 0;
}

bool TextBuffer::Take(TextBuffer& from) {
  // The memory can change hands only where nothing but the content lies in it.
  if (base_ == 0 && from.base_ == 0 && from.Length() <= limit_) {
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
