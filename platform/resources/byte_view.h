#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

namespace portwise::platform {

/// Little-endian reads from bytes that nobody vouches for: an offset may be any number at all.
class ByteView {
 public:
  explicit ByteView(std::string_view bytes) : bytes_(bytes) {}

  std::uint64_t Size() const { return bytes_.size(); }

  /// False, with `value` as it was, when it does not lie wholly inside.
  template <class Value>
  bool Read(std::uint64_t offset, Value* value) const {
    if (!Has(offset, sizeof *value)) return false;
    std::memcpy(value, bytes_.data() + offset, sizeof *value);
    return true;
  }

  /// False, with `part` as it was, when it does not lie wholly inside.
  bool Part(std::uint64_t offset, std::uint64_t size, std::string_view* part) const {
    if (!Has(offset, size)) return false;
    *part = bytes_.substr(offset, size);
    return true;
  }

 private:
  bool Has(std::uint64_t offset, std::uint64_t size) const {
    return offset <= bytes_.size() && size <= bytes_.size() - offset;
  }

  std::string_view bytes_;
};

}  // namespace portwise::platform
