#pragma once

#include <windows.h>

#include <cstddef>

namespace portwise {

/// Growable array of elements of one size, moved as raw bytes.
///
/// When the size must exceed the capacity, the capacity grows by GrowBy elements when that is set, else by an eighth
/// of the size (at least 4, at most 1024), or to the size asked for when that is larger; the first allocation is
/// exactly the size asked for. A size of 0 frees the storage; shrinking keeps it. New elements are zero-filled.
/// Operations that need memory return false (or -1) and leave the array as it was when there is none; a copy is then
/// empty.
class OBaseArray {
 public:
  explicit OBaseArray(size_t elementSize) : elementSize_(elementSize) {}
  OBaseArray(const OBaseArray& other);
  OBaseArray(OBaseArray&& other) noexcept;
  OBaseArray& operator=(OBaseArray other) noexcept;
  ~OBaseArray();

  int Size() const { return size_; }
  int Capacity() const { return capacity_; }
  bool IsEmpty() const { return size_ == 0; }
  /// 0 chooses the automatic growth.
  void SetGrowBy(int elements) { growBy_ = elements; }
  bool SetSize(int size);

  /// The elements' storage; null when empty.
  void* Data() { return data_; }
  const void* Data() const { return data_; }

 protected:
  /// Opens a gap of `count` zero-filled elements at `index`, which is at most the size.
  bool InsertGap(int index, int count);
  void RemoveRange(int index, int count);

 private:
  bool Reserve(int size);
  std::byte* At(int index) { return data_ + static_cast<size_t>(index) * elementSize_; }

  std::byte* data_ = nullptr;
  size_t elementSize_;
  int size_ = 0;
  int capacity_ = 0;
  int growBy_ = 0;
};

}  // namespace portwise
