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
    const bool taken = TryTake(bytes);
    if (!taken) exceeded_ = true;
    return taken;
  }
  /// The same for one who can do with less.
  bool TryTake(size_t bytes) {
    if (!Cover(taken_ + bytes)) return false;
    taken_ += bytes;
    return true;
  }
  void Return(size_t bytes) {
    taken_ -= bytes;
    Cover(taken_);
  }
  /// Something that was needed was not to be had, so what the texts hold may not be all of it.
  bool IsExceeded() const { return exceeded_; }

 private:
  /// Whether so many bytes may be taken in all. Always true for fewer than are taken already.
  virtual bool Cover(size_t bytes) = 0;

  size_t taken_ = 0;
  bool exceeded_ = false;
};

/// A part of an allowance, taken by its owner for something that is no text.
class AllowedBytes {
 public:
  AllowedBytes(TextAllowance* allowance, size_t bytes)
      : allowance_(allowance), bytes_(!allowance || allowance->Take(bytes) ? bytes : kNone) {}
  ~AllowedBytes() { Return(); }
  AllowedBytes(const AllowedBytes&) = delete;
  AllowedBytes& operator=(const AllowedBytes&) = delete;

  /// False when there was not so much.
  explicit operator bool() const { return bytes_ != kNone; }
  void Return() {
    if (allowance_ && bytes_ != kNone) allowance_->Return(bytes_);
    bytes_ = kNone;
  }

 private:
  static constexpr size_t kNone = static_cast<size_t>(-1);

  TextAllowance* const allowance_;
  size_t bytes_;
};

}  // namespace portwise
