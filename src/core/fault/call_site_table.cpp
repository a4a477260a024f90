// The form of the table is that of the Itanium C++ ABI's language-specific data area.

#include "core/fault/call_site_table.h"

#include <cstring>

namespace portwise {
namespace {

// Of the encodings of pointers in exception tables, the plain ones that compilers use for call sites.
constexpr BYTE kOmitted = 0xFF;
constexpr BYTE kUleb128 = 0x01;
constexpr BYTE kTwoBytes = 0x02;
constexpr BYTE kFourBytes = 0x03;
constexpr BYTE kEightBytes = 0x04;

class TableReader {
 public:
  explicit TableReader(const BYTE* at) : at_(at) {}

  const BYTE* At() const { return at_; }
  BYTE Byte() { return *at_++; }

  ULONGLONG Uleb128() {
    ULONGLONG value = 0;
    BYTE byte = 0x80;
    for (int shift = 0; byte & 0x80; shift += 7) {
      byte = Byte();
      value |= static_cast<ULONGLONG>(byte & 0x7F) << shift;
    }
    return value;
  }

  ULONGLONG Number(BYTE encoding) {
    switch (encoding) {
      case kTwoBytes:
        return Fixed<WORD>();
      case kFourBytes:
        return Fixed<DWORD>();
      case kEightBytes:
        return Fixed<ULONGLONG>();
      default:
        return Uleb128();
    }
  }

 private:
  template <class Value>
  ULONGLONG Fixed() {
    Value value;
    std::memcpy(&value, at_, sizeof value);
    at_ += sizeof value;
    return value;
  }

  const BYTE* at_;
};

}  // namespace

bool HasCallSite(const BYTE* table, ULONG_PTR functionStart, ULONG_PTR address) {
  if (!table) return true;
  TableReader reader(table);
  if (reader.Byte() != kOmitted) return true;       // landing pads that do not count from the start
  if (reader.Byte() != kOmitted) reader.Uleb128();  // where the types are
  const BYTE encoding = reader.Byte();
  if (encoding < kUleb128 || encoding > kEightBytes) return true;
  const auto size = reader.Uleb128();
  const BYTE* const end = reader.At() + size;
  while (reader.At() < end) {
    const ULONGLONG start = functionStart + reader.Number(encoding);
    const ULONGLONG length = reader.Number(encoding);
    reader.Number(encoding);            // the landing pad
    reader.Uleb128();                   // the action
    if (address < start) return false;  // they are in ascending order
    if (address < start + length) return true;
  }
  return false;
}

}  // namespace portwise
