#pragma once

#include <windows.h>

#include <limits>
#include <string_view>

namespace portwise::platform {

/// The source of a conversion: `size` units, or with -1 up to and including the NUL. False when there is none.
template <class Unit>
bool SourceText(const Unit* source, int size, std::basic_string_view<Unit>* text) {
  if (!source || size == 0 || size < -1) return false;
  *text = size > 0 ? std::basic_string_view<Unit>(source, static_cast<std::size_t>(size))
                   : std::basic_string_view<Unit>(source, std::char_traits<Unit>::length(source) + 1);
  return true;
}

template <class Unit>
bool IsTarget(const Unit* target, int size) {
  return size == 0 || (size > 0 && target);
}

/// The target of a conversion: `size` units, or with a size of 0 only a count of what is put.
template <class Unit>
class TextTarget {
 public:
  TextTarget(Unit* target, int size) : target_(target), size_(static_cast<std::size_t>(size)) {}

  void Put(Unit unit) {
    if (count_ < size_) target_[count_] = unit;
    ++count_;
  }

  /// The number of units, or 0 with ERROR_INSUFFICIENT_BUFFER when they did not fit.
  int Result() const {
    if (count_ <= (size_ > 0 ? size_ : std::size_t{std::numeric_limits<int>::max()})) return static_cast<int>(count_);
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return 0;
  }

 private:
  Unit* const target_;
  const std::size_t size_;
  std::size_t count_ = 0;
};

}  // namespace portwise::platform
