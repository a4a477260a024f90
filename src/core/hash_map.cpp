#include "core/hash_map.h"

#include <zlib.h>

#include <algorithm>
#include <functional>

namespace portwise {

DWORD OHashMap::Hash(const OString& key) {
  OString ansi = key;
  ansi.SetCodePage(kCodePageAnsi);
  const std::string_view bytes = ansi.NarrowView();
  return static_cast<DWORD>(
      crc32(0, reinterpret_cast<const Bytef*>(ansi.Narrow()), static_cast<uInt>(bytes.size() + 1)));
}

size_t OHashMap::FirstNotGreater(DWORD hash) const {
  return static_cast<size_t>(std::lower_bound(hashes_.begin(), hashes_.end(), hash, std::greater<>()) -
                             hashes_.begin());
}

int OHashMap::Find(const OString& key) const {
  const DWORD hash = Hash(key);
  for (size_t at = FirstNotGreater(hash); at < hashes_.size() && hashes_[at] == hash; ++at) {
    if (keys_[at] == key) return static_cast<int>(at);
  }
  return -1;
}

int OHashMap::InsertKey(const OString& key) {
  const DWORD hash = Hash(key);
  const size_t at = FirstNotGreater(hash);
  MakeRoom(hashes_);
  MakeRoom(keys_);
  hashes_.insert(hashes_.begin() + static_cast<std::ptrdiff_t>(at), hash);
  keys_.insert(keys_.begin() + static_cast<std::ptrdiff_t>(at), key);
  return static_cast<int>(at);
}

void OHashMap::RemoveKey(int index) {
  hashes_.erase(hashes_.begin() + index);
  keys_.erase(keys_.begin() + index);
}

void OHashMap::ClearKeys() {
  hashes_.clear();
  keys_.clear();
}

}  // namespace portwise
