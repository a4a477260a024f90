#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "xpml/element.h"
#include "xpml/text_buffer.h"

namespace portwise {

/// The open elements of a document, outermost first, with their contents.
class ElementStack {
 public:
  size_t Depth() const { return depth_; }
  bool IsEmpty() const { return depth_ == 0; }
  /// The innermost element; null when none is open.
  const XPML_Element* Top() const { return depth_ > 0 ? elements_[depth_ - 1].get() : nullptr; }
  /// The innermost element's content.
  TextStack& Content() { return content_; }

  void Open(std::string_view name, std::string_view attributes);
  /// Closes the innermost element; its content joins its parent's. That of the outermost element stays in Content
  /// until it is taken.
  void Close();
  /// Deletes all elements and their contents.
  void Clear();

  /// The attribute as the outermost element of that name carries it that has it; null when none has. Elements and
  /// attributes are named exactly. The cost of many lookups stays in proportion to the elements opened, however deep
  /// they nest.
  const XPML_Attribute* FindAttribute(std::string_view element, std::string_view attribute) const;

 private:
  /// What a lookup found out: where the attribute is, or that the elements below `searched` do not carry it. It holds
  /// for the elements that were open then, those whose serial is at most `serial`.
  struct Lookup {
    const XPML_Attribute* found = nullptr;
    size_t foundAt = 0;
    size_t searched = 0;
    ULONGLONG serial = 0;
  };

  size_t StillOpen(const Lookup& lookup) const;
  void Search(Lookup& lookup, std::string_view element, std::string_view attribute) const;

  std::vector<std::unique_ptr<XPML_Element>> elements_;  // the first depth_ are open, the others wait to be used again
  size_t depth_ = 0;
  ULONGLONG serial_ = 0;
  TextStack content_;
  mutable std::unordered_map<std::string, Lookup> lookups_;  // filled only where elements nest deep
};

}  // namespace portwise
