#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "xpml/attribute_index.h"
#include "xpml/element.h"
#include "xpml/text_buffer.h"

namespace portwise {

/// The open elements of a document, outermost first, with their contents. Its memory stays in proportion to what is
/// open, and the cost of opening, closing and looking up to the length of the tags, however deep they nest.
class ElementStack {
 public:
  /// The allowance is that of all open elements with their contents; there need not be one.
  explicit ElementStack(TextAllowance* allowance) : content_(allowance) {}
  ElementStack(const ElementStack&) = delete;
  ElementStack& operator=(const ElementStack&) = delete;
  ~ElementStack();

  bool IsEmpty() const { return depth_ == 0; }
  size_t Depth() const { return depth_; }
  /// The innermost element; null when none is open.
  const XPML_Element* Top() const { return depth_ > 0 ? elements_[depth_ - 1].get() : nullptr; }
  /// The innermost element's content.
  TextStack& Content() { return content_; }

  /// Throws std::bad_alloc when there is no memory for it; nothing has changed then.
  void Open(std::string_view name, std::string_view attributes);
  /// Closes the innermost element; its content joins its parent's. That of the outermost element stays in Content
  /// until it is taken. False when it did not fit there, and is dropped.
  bool Close();
  /// Deletes all elements and their contents.
  void Clear();

  /// The attribute as the outermost element of that name carries it that has it; null when none has. Elements and
  /// attributes are named exactly.
  const XPML_Attribute* FindAttribute(std::string_view element, std::string_view attribute) const;

 private:
  void Return(const XPML_Element& element);
  void TrimSpare();
  void IndexElements() const;

  std::vector<std::unique_ptr<XPML_Element>> elements_;  // the first depth_ are open, the others wait to be used again
  size_t depth_ = 0;
  size_t openAttributes_ = 0;
  TextStack content_;
  mutable AttributeIndex index_;  // of the first indexed_ elements; filled when the stack is too large to be walked
  mutable size_t indexed_ = 0;
};

}  // namespace portwise
