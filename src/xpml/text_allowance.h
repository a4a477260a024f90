#pragma once

#include <cstddef>

namespace portwise {

/// What the texts of one request may take of the memory together. Whoever runs the request implements it; it outlives
/// the texts. One thread at a time.
class TextAllowance {
 public:
  TextAllowance() = default;
  virtual ~TextAllowance() = default;
  TextAllowance(const TextAllowance&) = delete;
  TextAllowance& operator=(const TextAllowance&) = delete;

  /// So many bytes more are taken from now on; false, with nothing taken, when they are not to be had.
  bool Take(size_t bytes) {
    const bool taken = TakeAs(Need::Must, bytes);
    if (!taken) exceeded_ = true;
    return taken;
  }
  /// The same for one who can do with less: nobody else loses anything for it.
  bool TryTake(size_t bytes) { return TakeAs(Need::May, bytes); }
  void Return(size_t bytes) {
    taken_ -= bytes;
    Cover(taken_, Need::May);
  }
  /// The system had no memory for what the allowance had some for.
  void Exceed() { exceeded_ = true; }
  /// Something that was needed was not to be had, so what the texts hold may not be all of it.
  bool IsExceeded() const { return exceeded_; }

 protected:
  enum class Need { May, Must };

 private:
  /// Whether so many bytes may be taken in all. Always true for fewer than are taken already.
  virtual bool Cover(size_t bytes, Need need) = 0;

  bool TakeAs(Need need, size_t bytes) {
    if (!Cover(taken_ + bytes, need)) return false;
    taken_ += bytes;
    return true;
  }

  size_t taken_ = 0;
  bool exceeded_ = false;
};

/// A part of an allowance, taken by its owner for something that is no text.
class AllowedBytes {
 public:
  AllowedBytes(TextAllowance* allowance, size_t bytes)
      : allowance_(allowance), bytes_(!allowance || allowance->Take(bytes) ? bytes : kNone) {}
  ~AllowedBytes() {
    if (allowance_ && bytes_ != kNone) allowance_->Return(bytes_);
  }
  AllowedBytes(const AllowedBytes&) = delete;
  AllowedBytes& operator=(const AllowedBytes&) = delete;

  /// False when there was not so much.
  explicit operator bool() const { return bytes_ != kNone; }

 private:
  static constexpr size_t kNone = static_cast<size_t>(-1);

  TextAllowance* const allowance_;
  const size_t bytes_;
};

}  // namespace portwise
