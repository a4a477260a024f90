#pragma once

#include <type_traits>

#include "core/base_array.h"

namespace portwise {

/// Growable array of raw values. Indices outside the array are the caller's fault, as with a built-in array.
template <class T>
class OTypedArray : public OBaseArray {
  static_assert(std::is_trivially_copyable_v<T>, "elements are moved as raw bytes");

 public:
  OTypedArray() : OBaseArray(sizeof(T)) {}

  T* Data() { return static_cast<T*>(OBaseArray::Data()); }
  const T* Data() const { return static_cast<const T*>(OBaseArray::Data()); }
  T& operator[](int index) { return Data()[index]; }
  const T& operator[](int index) const { return Data()[index]; }
  T* begin() { return Data(); }
  T* end() { return Data() + Size(); }
  const T* begin() const { return Data(); }
  const T* end() const { return Data() + Size(); }

  /// The new element's index, or -1.
  int Append(const T& value) { return Insert(Size(), value) ? Size() - 1 : -1; }
  bool Insert(int index, const T& value) {
    const T copy = value;
    if (!InsertGap(index, 1)) return false;
    Data()[index] = copy;
    return true;
  }
  void RemoveAt(int index, int count = 1) { RemoveRange(index, count); }
  int Find(const T& value) const {
    for (int i = 0; i < Size(); ++i) {
      if (Data()[i] == value) return i;
    }
    return -1;
  }
};

}  // namespace portwise
