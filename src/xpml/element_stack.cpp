#include "xpml/element_stack.h"

#include <new>

namespace portwise {
namespace {

// Up to here a walk over the stack is cheaper than the index.
constexpr size_t kWalkedElements = 32;
constexpr size_t kWalkedAttributes = 256;

constexpr size_t kSpareElements = 64;

/// What an element is reckoned to take of the memory: much more than its tag, since each attribute is a record of its
/// own, and another one in the index.
size_t CostOf(size_t tag) { return sizeof(XPML_Element) + 8 * tag; }

}  // namespace

ElementStack::~ElementStack() {
  while (depth_ > 0) Return(*elements_[--depth_]);
}

void ElementStack::Open(std::string_view name, std::string_view attributes) {
  TextAllowance* const allowance = content_.Allowance();
  const size_t cost = CostOf(name.size() + attributes.size());
  if (allowance && !allowance->Take(cost)) throw std::bad_alloc();
  try {
    if (depth_ == elements_.size()) elements_.push_back(std::make_unique<XPML_Element>());
    elements_[depth_]->Open(name, attributes);
  } catch (...) {
    if (allowance) allowance->Return(cost);
    throw;
  }
  XPML_Element& element = *elements_[depth_];
  element.cost_ = cost;
  openAttributes_ += element.Attributes().size();
  element.parentBase_ = content_.Push();
  ++depth_;
}

bool ElementStack::Close() {
  XPML_Element& element = *elements_[--depth_];
  if (indexed_ > depth_) {
    index_.Remove(element);
    indexed_ = depth_;
  }
  openAttributes_ -= element.Attributes().size();
  const bool kept = content_.Pop(element.parentBase_);
  Return(element);
  element.Trim();
  TrimSpare();
  return kept;
}

void ElementStack::Return(const XPML_Element& element) {
  if (TextAllowance* const allowance = content_.Allowance()) allowance->Return(element.cost_);
}

void ElementStack::Clear() {
  index_.Clear();
  indexed_ = openAttributes_ = 0;
  while (depth_ > 0) {
    Return(*elements_[--depth_]);
    elements_[depth_]->Trim();
  }
  TrimSpare();
  content_.Free();
}

/// Deletes unused elements once they outnumber the open ones.
void ElementStack::TrimSpare() {
  if (elements_.size() <= 2 * depth_ + kSpareElements) return;
  elements_.resize(depth_ + kSpareElements);
  elements_.shrink_to_fit();
}

void ElementStack::IndexElements() const {
  try {
    for (; indexed_ < depth_; ++indexed_) index_.Add(*elements_[indexed_]);
  } catch (...) {
    index_.Clear();
    indexed_ = 0;
    throw;
  }
}

const XPML_Attribute* ElementStack::FindAttribute(std::string_view element, std::string_view attribute) const {
  if (depth_ > kWalkedElements || openAttributes_ > kWalkedAttributes) {
    IndexElements();
    return index_.Find(element, attribute);
  }
  for (size_t at = 0; at < depth_; ++at) {
    if (elements_[at]->Name() != element) continue;
    if (const XPML_Attribute* found = elements_[at]->Find(attribute)) return found;
  }
  return nullptr;
}

}  // namespace portwise
