#pragma once

#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "xpml/element.h"

namespace portwise {

/// Finds attributes of open elements by the names of both, for stacks too large to be walked. Every element costs time
/// and memory in proportion to its tag, once when it is added and once when it is removed.
class AttributeIndex {
  struct Place {
    const XPML_Element* element;
    const XPML_Attribute* attribute;
    bool Is(std::string_view elementName, std::string_view attributeName) const {
      return attribute->name == attributeName && element->Name() == elementName;
    }
  };

 public:
  AttributeIndex();

  /// Elements are added from the outermost inward and removed the other way round.
  void Add(const XPML_Element& element);
  void Remove(const XPML_Element& element);
  void Clear() { std::unordered_map<std::uint64_t, std::vector<Place>>().swap(places_); }

  /// The attribute of the outermost element of that name that carries it; null when none does.
  const XPML_Attribute* Find(std::string_view element, std::string_view attribute) const;

 private:
  std::uint64_t Hash(std::uint64_t start, std::string_view text) const;

  std::uint64_t seed_;  // so that nobody can make markup whose names collide
  std::unordered_map<std::uint64_t, std::vector<Place>> places_;
};

}  // namespace portwise
