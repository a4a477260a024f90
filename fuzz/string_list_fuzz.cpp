#include <cstring>

#include "core/ostring_array.h"
#include "fuzz/check.h"

using namespace portwise;

namespace {

void CheckEqual(const OStringArray& left, const OStringArray& right) {
  PORTWISE_CHECK(left.Size() == right.Size());
  for (int i = 0; i < left.Size(); ++i) PORTWISE_CHECK(left[i] == right[i]);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(fuzz::Bytes(data, size));
  WideString units(size / sizeof(WCHAR), WCHAR());
  if (!units.empty()) std::memcpy(units.data(), data, units.size() * sizeof(WCHAR));
  for (const ListLayout layout : {ListLayout::NulTerminated, ListLayout::Lines}) {
    OStringArray list;
    OStringArray again;
    list.FromWideBuffer(units, layout);
    again.FromWideBuffer(list.ToWideBuffer(layout), layout);
    CheckEqual(list, again);
    // Malformed bytes may give characters that a list cannot hold; what is left after one pass stays.
    for (const UINT codePage : {kCodePageUtf8, kCodePageOneByte}) {
      list.FromNarrowBuffer(bytes, layout, codePage);
      again.FromNarrowBuffer(list.ToNarrowBuffer(layout, codePage), layout, codePage);
      OStringArray third;
      third.FromNarrowBuffer(again.ToNarrowBuffer(layout, codePage), layout, codePage);
      CheckEqual(again, third);
    }
  }
  return 0;
}
