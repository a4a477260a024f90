#include "xpml/attribute_index.h"

#include <random>

namespace portwise {

AttributeIndex::AttributeIndex() {
  static const std::uint64_t seed = std::uint64_t{std::random_device()()} << 32 | std::random_device()();
  seed_ = seed;
}

std::uint64_t AttributeIndex::Hash(std::uint64_t start, std::string_view text) const {
  std::uint64_t hash = start ^ seed_ ^ text.size();
  for (const char byte : text) {
    hash = (hash ^ static_cast<unsigned char>(byte)) * 0x9E3779B97F4A7C15u;
    hash ^= hash >> 29;
  }
  return hash;
}

void AttributeIndex::Add(const XPML_Element& element) {
  const std::uint64_t start = Hash(0, element.Name());
  for (const XPML_Attribute& attribute : element.Attributes()) {
    std::vector<Place>& places = places_[Hash(start, attribute.name)];
    // Of attributes written twice only the first is ever found.
    if (places.empty() || places.back().element != &element || places.back().attribute->name != attribute.name) {
      places.push_back({&element, &attribute});
    }
  }
}

void AttributeIndex::Remove(const XPML_Element& element) {
  const std::uint64_t start = Hash(0, element.Name());
  for (const XPML_Attribute& attribute : element.Attributes()) {
    const auto found = places_.find(Hash(start, attribute.name));
    if (found == places_.end()) continue;
    while (!found->second.empty() && found->second.back().element == &element) found->second.pop_back();
    if (found->second.empty()) places_.erase(found);
  }
}

const XPML_Attribute* AttributeIndex::Find(std::string_view element, std::string_view attribute) const {
  const auto found = places_.find(Hash(Hash(0, element), attribute));
  if (found == places_.end()) return nullptr;
  for (const Place& place : found->second) {
    if (place.Is(element, attribute)) return place.attribute;
  }
  return nullptr;
}

}  // namespace portwise
