#include "xpml/element.h"

#include "xpml/tag.h"

namespace portwise {
namespace {

constexpr size_t kKeptText = 4096;
constexpr size_t kKeptAttributes = 64;

}  // namespace

void XPML_Element::Open(std::string_view name, std::string_view attributes) {
  text_.assign(name).append(attributes);
  const std::string_view text(text_);
  name_ = text.substr(0, name.size());
  attributes_.clear();
  std::string_view rest = text.substr(name.size());
  XPML_Attribute attribute;
  while (NextAttribute(rest, attribute.name, attribute.value)) attributes_.push_back(attribute);
}

void XPML_Element::Trim() {
  if (text_.capacity() <= kKeptText && attributes_.capacity() <= kKeptAttributes) return;
  name_ = std::string_view();
  std::string().swap(text_);
  std::vector<XPML_Attribute>().swap(attributes_);
}

const XPML_Attribute* XPML_Element::Find(std::string_view attribute) const {
  for (const XPML_Attribute& known : attributes_) {
    if (known.name == attribute) return &known;
  }
  return nullptr;
}

}  // namespace portwise
