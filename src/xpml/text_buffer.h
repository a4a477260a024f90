#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "xpml/text_allowance.h"

namespace portwise {

/// Growable bytes, which may hold NUL. The capacity starts at 64 and doubles, or grows by less where the allowance is
/// short. An operation that would pass the buffer's limit, or that finds no memory, returns false and leaves the
/// content as it was.
class TextBuffer {
 public:
  static constexpr size_t kMaxLength = size_t{256} << 20;
  static constexpr size_t kNoLimit = static_cast<size_t>(-1) / 4;

  /// `limit` is that of the content, `total` that of all that lies in the memory. What the buffer takes of the memory
  /// it takes of the allowance, when it has one; what the allowance refuses is memory that is not there.
  explicit TextBuffer(size_t limit = kMaxLength, size_t total = kNoLimit, TextAllowance* allowance = nullptr)
      : limit_(limit), total_(total), allowance_(allowance) {}
  explicit TextBuffer(TextAllowance* allowance) : TextBuffer(kMaxLength, kNoLimit, allowance) {}
  TextBuffer(const TextBuffer&) = delete;
  TextBuffer& operator=(const TextBuffer&) = delete;
  ~TextBuffer();

  size_t Length() const { return length_ - base_; }
  bool IsEmpty() const { return length_ == base_; }
  size_t Room() const { return std::min(limit_ - Length(), total_ - length_); }
  /// The most bytes that may stand in place of the content.
  size_t MostLength() const { return Length() + Room(); }
  /// Valid until the buffer grows; null when nothing was ever stored.
  char* Data() { return data_ + base_; }
  const char* Data() const { return data_ + base_; }
  std::string_view View() const { return std::string_view(Data(), Length()); }

  /// Appending nothing, or from null, does nothing. The bytes may not be the buffer's own.
  bool Append(const void* bytes, size_t count) {
    if (count == 0 || !bytes) return true;
    if (count > Room() || !Reserve(count)) return false;
    std::memcpy(data_ + length_, bytes, count);
    length_ += count;
    return true;
  }
  bool Append(std::string_view text) { return Append(text.data(), text.size()); }
  bool Append(char byte) { return Append(&byte, 1); }

  /// Puts the bytes, which may not be the buffer's own, in place of the content.
  bool Replace(std::string_view text);

  /// Makes the content that many bytes long and returns it; bytes that are new have any value. Null, with the content
  /// as it was, when there is no room.
  char* Resize(size_t length);

  /// Puts a NUL behind the content without counting it, so that the data can be read as a C string.
  bool Terminate();

  /// Cuts the content to its first `length` bytes.
  void Truncate(size_t length) {
    if (length < Length()) length_ = base_ + length;
  }
  /// Empties the content and keeps the memory, unless it is large.
  void Clear() {
    length_ = base_;
    if (capacity_ > kKeptCapacity && base_ == 0) Free();
  }
  /// Empties the content and gives the memory back.
  void Free();
  TextAllowance* Allowance() const { return allowance_; }
  /// Whether something was refused the memory that it needed, so that the texts of the allowance may not be whole.
  bool IsAllowanceExceeded() const { return allowance_ && allowance_->IsExceeded(); }
  /// Replaces the content by that of another buffer, which is empty then. When it returns false both are as they were.
  bool Take(TextBuffer& from);

 protected:
  size_t base_ = 0;  ///< where the content starts; what lies before belongs to whoever moved it
  size_t length_ = 0;

 private:
  bool Reserve(size_t count) { return capacity_ - length_ >= count || Grow(count); }
  bool Grow(size_t count);

  static constexpr size_t kKeptCapacity = size_t{1} << 20;

  const size_t limit_;
  const size_t total_;
  TextAllowance* const allowance_;
  char* data_ = nullptr;
  size_t capacity_ = 0;
};

/// The contents of nested elements, one behind the other in one buffer. The buffer's content is that of the innermost
/// element; closing an element appends its content to its parent's by letting the boundary go.
class TextStack : public TextBuffer {
 public:
  /// All open elements together, so that a short request cannot ask for the limit of one in each of very many.
  static constexpr size_t kMaxOpen = 2 * kMaxLength;

  explicit TextStack(TextAllowance* allowance = nullptr) : TextBuffer(kMaxLength, kMaxOpen, allowance) {}

  /// Begins an empty content on top; returns what `Pop` needs to end it.
  size_t Push() {
    const size_t parentBase = base_;
    base_ = length_;
    return parentBase;
  }
  /// The content on top becomes the tail of the one below; dropped, and false, when that one would pass its limit.
  bool Pop(size_t parentBase) {
    const bool fits = length_ - parentBase <= kMaxLength;
    if (!fits) length_ = base_;
    base_ = parentBase;
    return fits;
  }
};

}  // namespace portwise
