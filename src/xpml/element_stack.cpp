#include "xpml/element_stack.h"

#include <algorithm>

namespace portwise {
namespace {

constexpr size_t kDeep = 32;           // below, a walk over the stack is cheaper than remembering
constexpr size_t kSpareElements = 64;  // kept by Clear
constexpr size_t kMaxLookups = 1 << 16;

}  // namespace

void ElementStack::Open(std::string_view name, std::string_view attributes) {
  if (depth_ == elements_.size()) elements_.push_back(std::make_unique<XPML_Element>());
  XPML_Element& element = *elements_[depth_];
  element.Open(name, attributes);
  element.serial_ = ++serial_;
  element.parentBase_ = content_.Push();
  ++depth_;
}

void ElementStack::Close() {
  --depth_;
  content_.Pop(elements_[depth_]->parentBase_);
}

void ElementStack::Clear() {
  depth_ = 0;
  if (elements_.size() > kSpareElements) elements_.resize(kSpareElements);
  content_.Free();
  lookups_.clear();
}

const XPML_Attribute* ElementStack::FindAttribute(std::string_view element, std::string_view attribute) const {
  Lookup lookup;
  if (depth_ <= kDeep) {
    Search(lookup, element, attribute);
    return lookup.found;
  }
  if (lookups_.size() >= kMaxLookups) lookups_.clear();
  const size_t elementLength = element.size();
  std::string key(reinterpret_cast<const char*>(&elementLength), sizeof elementLength);
  key.append(element).append(attribute);
  Lookup& known = lookups_[std::move(key)];
  const size_t open = StillOpen(known);
  if (known.found && known.foundAt < open) return known.found;
  known.found = nullptr;
  known.searched = std::min(known.searched, open);
  Search(known, element, attribute);
  return known.found;
}

/// How many of the elements that were open at the lookup are open still. Serials grow along the stack.
size_t ElementStack::StillOpen(const Lookup& lookup) const {
  const auto end = elements_.begin() + static_cast<std::ptrdiff_t>(depth_);
  const auto newer = std::partition_point(elements_.begin(), end,
                                          [&](const auto& element) { return element->serial_ <= lookup.serial; });
  return static_cast<size_t>(newer - elements_.begin());
}

void ElementStack::Search(Lookup& lookup, std::string_view element, std::string_view attribute) const {
  lookup.serial = serial_;
  for (size_t at = lookup.searched; at < depth_; ++at) {
    if (elements_[at]->Name() != element) continue;
    if ((lookup.found = elements_[at]->Find(attribute))) {
      lookup.foundAt = lookup.searched = at;
      return;
    }
  }
  lookup.searched = depth_;
}

}  // namespace portwise
