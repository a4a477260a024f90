#pragma once

#include <utility>
#include <vector>

#include "core/ostring.h"

namespace portwise {

/// The keys of a map, sorted by descending hash: the order in which the map is walked.
///
/// The hash is the CRC-32 of the key's bytes in the ANSI code page with their terminating NUL. Keys are compared
/// exactly; of keys with one hash the one added last stands first.
class OHashMap {
 public:
  int Size() const { return static_cast<int>(keys_.size()); }
  bool IsEmpty() const { return keys_.empty(); }
  const OString& KeyAt(int index) const { return keys_[static_cast<size_t>(index)]; }
  DWORD HashAt(int index) const { return hashes_[static_cast<size_t>(index)]; }
  /// The key's position, or -1.
  int Find(const OString& key) const;

  static DWORD Hash(const OString& key);

 protected:
  /// Adds a key that is not there; returns its position.
  int InsertKey(const OString& key);
  /// Makes sure that one more element goes in without a need for memory, so that the arrays never differ in size.
  template <class Element>
  static void MakeRoom(std::vector<Element>& elements) {
    if (elements.size() == elements.capacity()) elements.reserve(elements.size() + elements.size() / 2 + 4);
  }
  void RemoveKey(int index);
  void ClearKeys();

 private:
  size_t FirstNotGreater(DWORD hash) const;

  std::vector<DWORD> hashes_;
  std::vector<OString> keys_;
};

/// Map from text to values, iterated in descending order of the keys' hashes.
template <class Value>
class OStringMap : public OHashMap {
 public:
  /// Null when the key is not there; valid until the map is changed.
  Value* Get(const OString& key) {
    const int index = Find(key);
    return index < 0 ? nullptr : &values_[static_cast<size_t>(index)];
  }
  const Value* Get(const OString& key) const { return const_cast<OStringMap*>(this)->Get(key); }
  Value& ValueAt(int index) { return values_[static_cast<size_t>(index)]; }
  const Value& ValueAt(int index) const { return values_[static_cast<size_t>(index)]; }

  /// Adds the key or replaces its value.
  void Set(const OString& key, Value value) {
    if (Value* known = Get(key)) {
      *known = std::move(value);
    } else {
      MakeRoom(values_);
      values_.insert(values_.begin() + InsertKey(key), std::move(value));
    }
  }
  bool Remove(const OString& key) {
    const int index = Find(key);
    if (index < 0) return false;
    RemoveKey(index);
    values_.erase(values_.begin() + index);
    return true;
  }
  void Clear() {
    ClearKeys();
    values_.clear();
  }

 private:
  std::vector<Value> values_;
};

}  // namespace portwise
