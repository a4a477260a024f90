#pragma once

#include <string>
#include <vector>

#include "core/ostring.h"

namespace portwise {

/// How a list of strings lies in one buffer.
enum class ListLayout {
  NulTerminated = 0,  ///< each non-empty string and a NUL, then one more NUL; reading stops at the first empty string
  Lines = 3,          ///< each string, empty ones too, and CR LF; what follows the last LF is not read
};

/// Growable, sortable array of strings.
class OStringArray {
 public:
  int Size() const { return static_cast<int>(strings_.size()); }
  bool IsEmpty() const { return strings_.empty(); }
  const OString& operator[](int index) const { return strings_[static_cast<size_t>(index)]; }
  OString& operator[](int index) { return strings_[static_cast<size_t>(index)]; }
  auto begin() const { return strings_.begin(); }
  auto end() const { return strings_.end(); }

  void Append(const OString& text) { strings_.push_back(text); }
  void Insert(int index, const OString& text) { strings_.insert(strings_.begin() + index, text); }
  void RemoveAt(int index) { strings_.erase(strings_.begin() + index); }
  void Clear() { strings_.clear(); }
  /// The first position of the exact text, or -1.
  int Find(const OString& text) const;
  /// Ascending, by UTF-16 units.
  void Sort();

  /// The list as one buffer of units, or of bytes in `codePage`.
  WideString ToWideBuffer(ListLayout layout) const;
  std::string ToNarrowBuffer(ListLayout layout, UINT codePage) const;
  /// Replaces the list by what the buffer holds. A last string without its end counts in the NUL layout.
  void FromWideBuffer(WideView buffer, ListLayout layout);
  void FromNarrowBuffer(std::string_view buffer, ListLayout layout, UINT codePage);

 private:
  std::vector<OString> strings_;
};

}  // namespace portwise
