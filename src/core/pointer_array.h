#pragma once

#include <utility>

#include "core/typed_array.h"

namespace portwise {

/// Growable array of pointers, which it owns or only keeps. An owning array destroys what is removed from it and what
/// is left in it at the end; it moves, never copies.
template <class T>
class OPointerArray {
 public:
  enum class Ownership { Owned, Kept };

  explicit OPointerArray(Ownership ownership = Ownership::Owned) : owned_(ownership == Ownership::Owned) {}
  OPointerArray(OPointerArray&& other) noexcept : pointers_(std::move(other.pointers_)), owned_(other.owned_) {}
  OPointerArray& operator=(OPointerArray&& other) noexcept {
    if (this != &other) {
      Clear();
      pointers_ = std::move(other.pointers_);
      owned_ = other.owned_;
    }
    return *this;
  }
  OPointerArray(const OPointerArray&) = delete;
  OPointerArray& operator=(const OPointerArray&) = delete;
  ~OPointerArray() { Clear(); }

  int Size() const { return pointers_.Size(); }
  bool IsEmpty() const { return pointers_.IsEmpty(); }
  T* operator[](int index) const { return pointers_[index]; }
  /// Null when the array is empty.
  T* Last() const { return IsEmpty() ? nullptr : pointers_[Size() - 1]; }
  T* const* begin() const { return pointers_.begin(); }
  T* const* end() const { return pointers_.end(); }

  /// The new element's index; -1, with the pointer still the caller's, when there is no memory.
  int Append(T* pointer) { return pointers_.Append(pointer); }
  int Find(const T* pointer) const { return pointers_.Find(const_cast<T*>(pointer)); }
  /// Takes the pointer out without destroying it.
  T* Detach(int index) {
    T* pointer = pointers_[index];
    pointers_.RemoveAt(index);
    return pointer;
  }
  void RemoveAt(int index) {
    T* pointer = Detach(index);
    if (owned_) delete pointer;
  }
  void Clear() {
    while (!IsEmpty()) RemoveAt(Size() - 1);
  }

 private:
  OTypedArray<T*> pointers_;
  bool owned_;
};

}  // namespace portwise
