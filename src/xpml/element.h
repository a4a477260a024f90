#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace portwise {

/// One attribute of an element; both are bytes as written. Views of the element's own copy of its tag.
struct XPML_Attribute {
  std::string_view name;
  std::string_view value;
};

/// An open element: its name as written and its attributes in their order. Its content lies in the document's stack of
/// contents. Objects are used again for later elements, so that opening one usually needs no memory.
class XPML_Element {
 public:
  XPML_Element() = default;
  XPML_Element(const XPML_Element&) = delete;
  XPML_Element& operator=(const XPML_Element&) = delete;

  /// Begins a new element.
  void Open(std::string_view name, std::string_view attributes);
  /// Gives back the memory of a tag that was longer than most.
  void Trim();

  std::string_view Name() const { return name_; }
  const std::vector<XPML_Attribute>& Attributes() const { return attributes_; }
  /// The first attribute of that exact name, or null.
  const XPML_Attribute* Find(std::string_view attribute) const;

 private:
  friend class ElementStack;

  std::string text_;
  std::string_view name_;
  std::vector<XPML_Attribute> attributes_;
  size_t parentBase_ = 0;  // the content stack's mark
  size_t cost_ = 0;        // what the stack has taken of the allowance
};

}  // namespace portwise
